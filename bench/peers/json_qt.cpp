// QJsonDocument, whose objects are built from the inside out.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace
{

using namespace bench::json;

auto parsing(const std::string& text)
{
    return [bytes = QByteArray::fromStdString(text)]
    {
        QJsonDocument document = QJsonDocument::fromJson(bytes);
        bench::keep(document);
    };
}

template <class T>
std::vector<QString> stringsOf(const T& texts)
{
    std::vector<QString> strings;
    for (const auto& text : texts)
        strings.push_back(QString::fromStdString(text));
    return strings;
}

class Writer
{
public:
    void openItem() { open_.push_back({}); }
    void close()
    {
        const QJsonObject closed = pop().object;
        open_.empty() ? void(document = QJsonDocument(closed)) : top().array.append(closed);
    }
    void openArray(Key key) { open_.push_back({key, {}, {}}); }
    void closeArray()
    {
        const Container closed = pop();
        put(closed.key, closed.array);
    }
    void text(Key key, std::size_t text) { put(key, texts_[text]); }
    void number(Key key, double value) { put(key, value); }
    void whole(Key key, int value) { put(key, value); }
    void truth(Key key, bool value) { put(key, value); }
    void item(double value) { top().array.append(value); }

    QJsonDocument document;

private:
    struct Container
    {
        Key key = keyCount;
        QJsonObject object{};
        QJsonArray array{};
    };

    Container& top() { return open_.back(); }
    Container pop()
    {
        Container last = std::move(open_.back());
        open_.pop_back();
        return last;
    }
    void put(Key key, const QJsonValue& value) { top().object.insert(keys_[key], value); }

    static inline const std::vector<QString> keys_ = stringsOf(keys);
    static inline const std::vector<QString> texts_ = stringsOf(texts());
    std::vector<Container> open_;
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("json/parse a project of 1 MB", "QJsonDocument", parsing(project()));
        registry.peer("json/parse 100,000 numbers", "QJsonDocument", parsing(numbers()));
        registry.peer("json/parse 50,000 texts with escapes", "QJsonDocument", parsing(escapedTexts()));
        registry.peer("json/build and print a project of 1 MB", "QJsonDocument",
                      []
                      {
                          Writer writer;
                          writeProject(writer);
                          QByteArray text = writer.document.toJson();
                          bench::keep(text);
                      });
        registry.add("json/memory of a project of 1 MB",
                     {bench::Role::peer, "QJsonDocument",
                      [bytes = QByteArray::fromStdString(project()), kept = QJsonDocument()](std::size_t count) mutable
                      {
                          kept = QJsonDocument();
                          if (count != 0)
                              kept = QJsonDocument::fromJson(bytes);
                      }});
    });

} // namespace

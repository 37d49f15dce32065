// nlohmann's json, which builds a tree for printing as well.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/json.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace
{

using namespace bench::json;
using Tree = nlohmann::json;

auto parsing(const std::string& text)
{
    return [&text]
    {
        Tree tree = Tree::parse(text);
        bench::keep(tree);
    };
}

class Writer
{
public:
    void openItem() { open(add(Tree::object())); }
    void close() { open_.pop_back(); }
    void openArray(Key key) { open(top()[keys[key]] = Tree::array()); }
    void closeArray() { open_.pop_back(); }
    void text(Key key, std::size_t text) { top()[keys[key]] = texts()[text]; }
    void number(Key key, double value) { top()[keys[key]] = value; }
    void whole(Key key, int value) { top()[keys[key]] = value; }
    void truth(Key key, bool value) { top()[keys[key]] = value; }
    void item(double value) { top().push_back(value); }

    Tree tree;

private:
    Tree& top() { return *open_.back(); }
    void open(Tree& opened) { open_.push_back(&opened); }
    Tree& add(Tree item)
    {
        if (open_.empty())
            return tree = std::move(item);
        top().push_back(std::move(item));
        return top().back();
    }

    std::vector<Tree*> open_;
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("json/parse a project of 1 MB", "nlohmann", parsing(project()));
        registry.peer("json/parse 100,000 numbers", "nlohmann", parsing(numbers()));
        registry.peer("json/parse 50,000 texts with escapes", "nlohmann", parsing(escapedTexts()));
        registry.peer("json/build and print a project of 1 MB", "nlohmann",
                      []
                      {
                          Writer writer;
                          writeProject(writer);
                          std::string text = writer.tree.dump(4);
                          bench::keep(text);
                      });
        registry.add("json/memory of a project of 1 MB", {bench::Role::peer, "nlohmann",
                                                          [kept = std::optional<Tree>()](std::size_t count) mutable
                                                          {
                                                              kept.reset();
                                                              if (count != 0)
                                                                  kept = Tree::parse(project());
                                                          }});
    });

} // namespace

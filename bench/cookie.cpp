// Area cookie: the texts of identities, which are file names and keys.
//
// Workload: one cookie of each form. Texts that come out are owned by a string, those that go in are C
// strings of known content but unknown to the optimiser. The peers, which have the UUID form alone, stand
// beside both forms.

#include "bench/cookie.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "libmw/UUID.h"
#include "misc/identity/Cookie.h"

namespace
{

void declare(bench::Registry& registry)
{
    registry.declare({"cookie/UUID asString", "Writes a UUID's text into a buffer.", {{1.1, "libuuid"}}});
    registry.declare(
        {"cookie/classic text out", "Makes the text of 8 characters of a classic cookie.", {{1.0, bench::bestPeer}}});
    registry.declare(
        {"cookie/classic text in", "Reads a classic cookie from its text of 8 characters.", {{1.0, bench::bestPeer}}});
    registry.declare({"cookie/UUID text out",
                      "Makes the text of 40 characters of a cookie of the UUID form.",
                      {{1.0, bench::bestPeer}}});
    registry.declare({"cookie/UUID text in",
                      "Reads a cookie of the UUID form from its text of 40 characters.",
                      {{1.0, bench::bestPeer}}});
}

void addOut(bench::Registry& registry, const char* caseName, const Cookie& cookie)
{
    registry.ours(caseName,
                  [cookie]
                  {
                      Cookie shown = cookie;
                      bench::keep(shown);
                      LightweightString<char> text = shown.asString(true);
                      bench::keep(text);
                  });
}

void addIn(bench::Registry& registry, const char* caseName, const char* text)
{
    registry.ours(caseName,
                  [text]
                  {
                      Cookie cookie(bench::hidden(text), true);
                      bench::keep(cookie);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        declare(registry);
        registry.ours("cookie/UUID asString",
                      []
                      {
                          static Mw::UUID uuid(bench::uuidText);
                          char text[Mw::UUID::textLength + 1];
                          bench::keep(uuid);
                          uuid.asString(text);
                          bench::keep(text);
                      });
        addOut(registry, "cookie/classic text out", Cookie('V', 1234567, 0, 12));
        addIn(registry, "cookie/classic text in", "V00PQGLJ");
        addOut(registry, "cookie/UUID text out", Cookie('V', Mw::UUID(bench::uuidText), 0));
        addIn(registry, "cookie/UUID text in", bench::cookieText);
    });

} // namespace

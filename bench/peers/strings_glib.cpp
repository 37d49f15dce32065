// GLib's growing string and its split.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/strings.h"

#include <glib.h>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("strings/append 1 character 1,000 times", "GString",
                      []
                      {
                          GString* text = g_string_new(nullptr);
                          for (int i = 0; i < bench::texts::appendCount; ++i)
                              g_string_append_c(text, bench::hidden(bench::texts::appendedCharacter));
                          bench::keep(text);
                          g_string_free(text, TRUE);
                      });
        registry.peer("strings/append 16 characters 1,000 times", "GString",
                      []
                      {
                          GString* text = g_string_new(nullptr);
                          for (int i = 0; i < bench::texts::appendCount; ++i)
                              g_string_append_len(text, bench::hidden(bench::texts::appendedSixteen),
                                                  bench::hidden(16));
                          bench::keep(text);
                          g_string_free(text, TRUE);
                      });
        registry.peer("strings/splitIf of 1,000 fields", "g_strsplit",
                      []
                      {
                          static const char separator[] = {bench::texts::separator, 0};
                          gchar** pieces = g_strsplit(bench::texts::thousandFields().c_str(), separator, -1);
                          bench::keep(pieces);
                          g_strfreev(pieces);
                      });
    });

} // namespace

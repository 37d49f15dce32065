#pragma once

// The identity that all sides print and read.

namespace bench
{

inline constexpr const char* uuidText = "6f1e0c52-9d3b-4c7a-8e21-b0a94d57f3c8";
inline constexpr const char* cookieText = "V00-6f1e0c52-9d3b-4c7a-8e21-b0a94d57f3c8";

// The cases that show a text that is owned, and those that read one: what has the UUID form alone is
// measured beside both forms.
inline constexpr const char* textOutCases[] = {"cookie/classic text out", "cookie/UUID text out"};
inline constexpr const char* textInCases[] = {"cookie/classic text in", "cookie/UUID text in"};

} // namespace bench

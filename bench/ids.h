#pragma once

// The cases of area ids, for the files that add peers to them: each makes one identity.

namespace bench
{

inline constexpr const char* idCases[] = {"ids/make a UUID cookie", "ids/make a classic cookie",
                                          "ids/make an id stamp"};

} // namespace bench

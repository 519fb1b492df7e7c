// A header of the parent with the name of one of the library's.
#pragma once

inline constexpr const char* parents_store = ":memory:";

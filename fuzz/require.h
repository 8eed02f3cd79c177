// What every fuzz target says of its input: a fault ends the process.
#pragma once

#include <cstdlib>

inline void require(bool holds) {
  if (!holds) std::abort();
}

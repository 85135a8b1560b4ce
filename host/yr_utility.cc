#include "host/yr_utility.h"

#include <thread>

extern "C" int32_t cpu_num_processors(void) {
  const unsigned count = std::thread::hardware_concurrency();
  return count == 0 ? 1 : static_cast<int32_t>(count);
}

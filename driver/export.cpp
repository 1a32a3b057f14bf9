// The library's one exported entry.
#include "driver/driver.hpp"

extern "C" __attribute__((visibility("default"))) int marl_main(int argc, char **argv, char **envp,
                                                                int no_console) {
  return marl::runOnInterpreterThread(argc, argv, envp, no_console);
}

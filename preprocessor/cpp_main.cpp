#include "preprocessor/cpp_main.hpp"

extern "C" int cpp_main(int, char **) { return 1; }

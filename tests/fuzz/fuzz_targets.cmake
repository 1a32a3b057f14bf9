# The fuzz targets, added to the project only by run_fuzz.sh (through
# CMAKE_PROJECT_marl_INCLUDE) in a clang build of its own. This file is read
# right after project(), before the project's own settings.
add_executable(parse_fuzz ${CMAKE_CURRENT_LIST_DIR}/parse_fuzz.cpp)
set_target_properties(parse_fuzz PROPERTIES CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON)
target_link_libraries(parse_fuzz PRIVATE marlcore)
# The project adds its sanitizer options only to targets made after this point.
target_compile_options(parse_fuzz PRIVATE -fsanitize=address,undefined)
target_link_options(parse_fuzz PRIVATE -fsanitize=fuzzer,address,undefined)

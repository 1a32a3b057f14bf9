# The fuzz targets, added to the project only by run_fuzz.sh (through
# CMAKE_PROJECT_marl_INCLUDE) in a clang build of its own. This file is read
# right after project(), before the project's own settings.
set(MARL_FUZZ_TARGETS parse preprocess eval deserial pack encoding format regex)
foreach(name ${MARL_FUZZ_TARGETS})
  add_executable(${name}_fuzz ${CMAKE_CURRENT_LIST_DIR}/${name}_fuzz.cpp)
  set_target_properties(${name}_fuzz PROPERTIES CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON)
  target_link_libraries(${name}_fuzz PRIVATE marlcore)
  # The project adds its sanitizer options only to targets made after this point.
  target_compile_options(${name}_fuzz PRIVATE -fsanitize=address,undefined)
  target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer,address,undefined)
endforeach()
target_sources(eval_fuzz PRIVATE ${CMAKE_CURRENT_LIST_DIR}/memory_budget.cpp)

// The C-style preprocessor that every script file passes through before scanning.
#pragma once

// argv: "" (program name), -D/-U/-I options in order, -I<program_dir>, -o<output>, input path.
// Returns 0 on success; errors are printed as "FILE:LINE: error: MESSAGE".
extern "C" int cpp_main(int argc, char **argv);

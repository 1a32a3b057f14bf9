# Points the loader at a library that is not the runtime.
MARL_MONO_LIBRARY=libffi.so.8 "$MARL" wrong_library.mr

# Points the loader at a library that does not exist.
MARL_MONO_LIBRARY=/nonexistent/libmonosgen-2.0.so.1 "$MARL" missing_runtime.mr

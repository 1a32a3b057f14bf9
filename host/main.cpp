// The console host: hands its command line and environment to the interpreter.
extern "C" int marl_main(int argc, char **argv, char **envp, int no_console);

int main(int argc, char **argv, char **envp) { return marl_main(argc, argv, envp, 0); }

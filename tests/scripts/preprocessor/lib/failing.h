// An included file whose error must be reported at its own line.
function failing() {
  return 1 \ 0;
}

#define WHERE "lib dir"

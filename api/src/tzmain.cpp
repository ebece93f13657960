// The program.
#include "tz.h"

int main(int argc, char** argv) { return tzMain(argc, argv); }

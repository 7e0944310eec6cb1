#include "host/program.h"

int main(int count, char** arguments) { return kest::host::RunProgram(count, arguments); }

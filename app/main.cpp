#include <iostream>

#include "app/run_command.h"

int main(int argc, char** argv) { return halveron::RunCommand(argc, argv, std::cout, std::cerr); }

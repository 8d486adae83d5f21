#include "Program.h"

int main(int argc, char** argv) {
    return rix::cli::runProgram(argc, argv);
}

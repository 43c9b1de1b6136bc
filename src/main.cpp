#include "application/LumivaneApplication.h"

int main(int argc, char** argv) { return lumivane::LumivaneApplication::main(argc, argv); }

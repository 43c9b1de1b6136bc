#pragma once

namespace lumivane::LumivaneApplication {

/// The process's entry: reads the command line, makes the program and runs it to its end. Answers
/// the process's exit status.
int main(int argc, char** argv);

} // namespace lumivane::LumivaneApplication

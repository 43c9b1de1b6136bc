#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace lumivane::service::test {

/// A program of the build as a child process, whose standard output is read line by line. It is
/// killed when this goes.
class ChildProgram {
public:
    explicit ChildProgram(const std::vector<std::string>& words);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    /// The next line without its end; empty once the program has ended or says nothing for 20 s.
    std::string readLine();

    /// Ends it without letting it finish anything, and waits until it is gone.
    void kill();

private:
    pid_t m_process = -1;
    int m_output = -1;
    std::string m_read;
};

} // namespace lumivane::service::test

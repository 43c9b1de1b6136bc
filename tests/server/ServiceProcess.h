#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace lumivane::service::test {

/// The service's executable as a process, ended with this object at the latest.
class ServiceProcess {
public:
    ServiceProcess(std::vector<std::string> arguments,
                   std::map<std::string, std::string> environment);
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /// The port of its first line, or 0 when it ended without one.
    std::uint16_t waitForPort();

    void signal(int number);

    pid_t id() const { return m_process; }

    /// Its exit status; 128 and the signal's number when a signal ended it. At most ten seconds.
    int waitForEnd();

    std::string output() const { return m_output; }

    std::string errors();

private:
    pid_t m_process = -1;
    int m_outputPipe = -1;
    int m_errorPipe = -1;
    std::string m_output;
    std::string m_errors;
};

} // namespace lumivane::service::test

#pragma once

#include "server/configuration/ServiceConfiguration.h"
#include "server/http/RequestLog.h"

#include <boost/asio/io_context.hpp>

#include <cstdint>
#include <memory>

namespace lumivane::service {

/// The whole service, put together as the settings say: database, sessions, logins, analysis and
/// the server before them. The context's one thread is the network thread, and the context must
/// outlive the service.
class LumivaneService {
public:
    /// Opens the database and brings its schema up to date. Throws ConfigurationError, TokenError
    /// and StoreError.
    LumivaneService(boost::asio::io_context& context, const ServiceConfiguration& configuration,
                    LogWriter log);
    ~LumivaneService();
    LumivaneService(const LumivaneService&) = delete;
    LumivaneService& operator=(const LumivaneService&) = delete;

    /// Listens, and begins the work that goes on beside the requests. Throws ListenError.
    void start();

    /// The port listened on.
    std::uint16_t port() const;

    /// Lets requests at work finish and ends everything else; the context then runs out of work.
    /// Any thread.
    void stop();

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace lumivane::service

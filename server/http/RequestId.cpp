#include "server/http/RequestId.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace lumivane::service {

std::string makeRequestId() {
    // The generator of the library asks the kernel each time, so no state is shared by threads.
    thread_local boost::uuids::random_generator_pure generator;
    return boost::uuids::to_string(generator());
}

} // namespace lumivane::service

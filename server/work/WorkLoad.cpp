#include "server/work/WorkLoad.h"

namespace lumivane::service {

boost::asio::execution_context::id WorkLoad::id;

WorkLoad::WorkLoad(boost::asio::execution_context& pool)
    : boost::asio::execution_context::service(pool) {}

WorkLoad& WorkLoad::of(boost::asio::execution_context& pool) {
    return boost::asio::use_service<WorkLoad>(pool);
}

} // namespace lumivane::service

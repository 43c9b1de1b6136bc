#pragma once

#include "server/store/Database.h"

#include <string>

namespace lumivane::service::test {

/// An account of the database with one verified identity at GitHub.
struct StoredAccount {
    std::string id;
    std::string displayName;
    std::string handle;
    std::string foldedHandle;
    std::string email; ///< in lower case

    void insertInto(Database& database) const;
};

} // namespace lumivane::service::test

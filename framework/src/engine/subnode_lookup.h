#pragma once

#include <string>
#include <variant>

#include "engine/request_error.h"
#include "engine/subnode_directory.h"

namespace fw {

/// The subnode with that shown name, if it can be asked now; else why not, with the nearest name.
std::variant<SubnodeName, RequestError> findSubnode(const SubnodeDirectory& directory,
                                                    const std::string& shown);

}  // namespace fw

#include "Norv/Ombrel/Project/ObjectId.h"

namespace Norv::Ombrel::Project {

std::string to_string(const ObjectId& id) {
    return "OID: " + std::to_string(id.GetValue());
}

}  // namespace Norv::Ombrel::Project

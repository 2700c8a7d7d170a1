#pragma once

#include <string>

namespace orv::test {

/// Makes a null source through the library: unlike the server's tools it takes any bytes for names. The node stays.
bool addNodeWithBytes(const std::string& name, const std::string& description);

}  // namespace orv::test

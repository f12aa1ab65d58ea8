#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tallyfold::test {

/// Runs a program found on the PATH, without a shell, and returns its standard output.
/// Throws when it cannot be started or does not exit with status 0: an oracle that is missing must fail the test.
std::string outputOf(const std::vector<std::string>& command);

}  // namespace tallyfold::test

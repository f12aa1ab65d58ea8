#pragma once

namespace tallyfold::test {

/// The seed of this run's random tests, printed so that a failure can be repeated: the environment variable
/// TALLYFOLD_TEST_SEED when it is set, otherwise a new one for every process.
unsigned seedOfThisRun();

}  // namespace tallyfold::test

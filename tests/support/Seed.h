#pragma once

namespace tallyfold::test {

/// The seed of this run's random tests, printed so that a failure can be repeated: the environment variable
/// TALLYFOLD_TEST_SEED when it is set, otherwise a new one for every process.
unsigned seedOfThisRun();

/// How often a test of random rounds goes round: `few`, which keeps the whole suite short, times the environment
/// variable TALLYFOLD_ROUNDS when that is set. A tenth of it under ThreadSanitizer, which is ten times slower.
int roundsOfThisRun(int few);

}  // namespace tallyfold::test

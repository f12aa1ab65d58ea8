#pragma once

#include <string>
#include <variant>

#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// What can come of checking one file against one pasted checksum.
namespace Verification {

struct Match {
  HashAlgorithm algorithm;
  std::string digest;

  bool operator==(const Match&) const = default;
};

struct Mismatch {
  HashAlgorithm algorithm;
  std::string actual;  ///< The digest that was calculated.

  bool operator==(const Mismatch&) const = default;
};

struct Error {
  std::string message;  ///< For the user, without prefix.

  bool operator==(const Error&) const = default;
};

/// The pasted text holds no digest that can be recognised. The file was not read.
struct InvalidExpectedHash {
  bool operator==(const InvalidExpectedHash&) const = default;
};

/// The length of the pasted digest fits more than one algorithm, and none was chosen. The file was not read.
struct AmbiguousExpectedHash {
  bool operator==(const AmbiguousExpectedHash&) const = default;
};

}  // namespace Verification

using VerificationResult = std::variant<Verification::Match, Verification::Mismatch, Verification::Error,
                                        Verification::InvalidExpectedHash, Verification::AmbiguousExpectedHash>;

}  // namespace tallyfold

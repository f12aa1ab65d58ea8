#include "core/digests/PlatformDigest.h"

#include <array>
#include <new>
#include <openssl/evp.h>
#include <stdexcept>

#include "core/base/HexEncoder.h"

namespace tallyfold {

namespace {

/// The library's implementation of one algorithm. Looking it up costs more than hashing a small file, so it is done
/// once per process (tried again if it fails) and never given back: some thread may hash until the very end.
template <HashAlgorithm::Case algorithm>
const EVP_MD* implementation() {
  static const EVP_MD* const method = [] {
    const std::string name(HashAlgorithm{algorithm}.rawValue());
    const EVP_MD* const fetched = EVP_MD_fetch(nullptr, name.c_str(), nullptr);
    if (fetched == nullptr) throw std::runtime_error("The system's cryptography library does not offer " + name + ".");
    return fetched;
  }();
  return method;
}

const EVP_MD* implementation(HashAlgorithm algorithm) {
  switch (algorithm) {
    case HashAlgorithm::md5:
      return implementation<HashAlgorithm::md5>();
    case HashAlgorithm::sha1:
      return implementation<HashAlgorithm::sha1>();
    case HashAlgorithm::sha256:
      return implementation<HashAlgorithm::sha256>();
    case HashAlgorithm::sha384:
      return implementation<HashAlgorithm::sha384>();
    case HashAlgorithm::sha512:
      return implementation<HashAlgorithm::sha512>();
    default:
      throw std::invalid_argument("Not a digest of the platform.");
  }
}

void check(int success) {
  if (success != 1) throw std::runtime_error("The system's cryptography library could not calculate the checksum.");
}

}  // namespace

void PlatformDigest::Free::operator()(evp_md_ctx_st* context) const { EVP_MD_CTX_free(context); }

PlatformDigest::PlatformDigest(HashAlgorithm algorithm) : context_(EVP_MD_CTX_new()) {
  if (context_ == nullptr) throw std::bad_alloc();
  check(EVP_DigestInit_ex2(context_.get(), implementation(algorithm), nullptr));
}

void PlatformDigest::update(std::span<const std::byte> bytes) {
  check(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()));
}

std::string PlatformDigest::finalize() {
  std::array<std::byte, EVP_MAX_MD_SIZE> digest{};
  unsigned length = 0;
  check(EVP_DigestFinal_ex(context_.get(), reinterpret_cast<unsigned char*>(digest.data()), &length));
  return HexEncoder::string(std::span(digest).first(length));
}

}  // namespace tallyfold

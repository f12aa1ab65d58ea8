#include "core/digests/PlatformDigest.h"

#include <array>
#include <atomic>
#include <new>
#include <openssl/evp.h>
#include <stdexcept>

#include "core/base/HexEncoder.h"

namespace tallyfold {

namespace {

std::array<std::atomic<const EVP_MD*>, HashAlgorithm::count> implementations{};

/// The library's implementation of an algorithm. Looking it up costs more than hashing a small file, so it is done once
/// per process (tried again if it fails) and never given back: some thread may hash until the very end.
const EVP_MD* implementation(HashAlgorithm algorithm) {
  std::atomic<const EVP_MD*>& known = implementations[algorithm];
  if (const EVP_MD* const method = known.load(std::memory_order_acquire)) return method;
  const std::string name(algorithm.rawValue());
  EVP_MD* const fetched = EVP_MD_fetch(nullptr, name.c_str(), nullptr);
  if (fetched == nullptr) throw std::runtime_error("The system's cryptography library does not offer " + name + ".");
  const EVP_MD* first = nullptr;
  if (known.compare_exchange_strong(first, fetched, std::memory_order_acq_rel)) return fetched;
  EVP_MD_free(fetched);  // Another thread was faster.
  return first;
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

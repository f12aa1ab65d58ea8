#include "bench/Blake3Sizes.h"

#include <array>
#include <limits>
#include <memory>
#include <openssl/evp.h>
#include <random>

#include "bench/Measure.h"
#include "core/blake3/Blake3.h"
#include "core/blake3/Kernels.h"

namespace tallyfold::bench {

namespace {

constexpr std::size_t kLargest = 8 << 20;

/// The multiples to reach. Those with AVX-512 were measured of the fastest code known; those with AVX2 are reckoned
/// from how far the code here was behind it once.
struct Goal {
  std::size_t size;
  double withAVX2;
  double withAVX512;
};

constexpr std::array<Goal, 8> goals{{
    {64, 0.34, 0.36},
    {1 << 10, 0.34, 0.57},
    {4 << 10, 1.25, 1.7},
    {16 << 10, 1.9, 3.7},
    {64 << 10, 2, 3.9},
    {128 << 10, 2.1, 3.9},
    {1 << 20, 2.1, 3.9},
    {kLargest, 1.75, 3.8},
}};

void digest(const std::vector<std::uint8_t>& bytes, std::size_t size) {
  std::array<std::uint8_t, 32> result;
  tf_blake3* const context = tf_blake3_create();
  tf_blake3_update(context, bytes.data(), size);
  tf_blake3_finalize(context, result.data());
  tf_blake3_destroy(context);
  __asm__ volatile("" : : "g"(result.data()) : "memory");
}

/// The seconds that OpenSSL's SHA-256 of these bytes takes when nothing disturbs it: of its pieces, the fastest counts.
double sha256(const std::vector<std::uint8_t>& bytes) {
  constexpr std::size_t piece = 64 << 10;
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
  double fastest = std::numeric_limits<double>::infinity();
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    fastest = std::min(fastest, secondsOf([&] { EVP_DigestUpdate(context.get(), &bytes[at], piece); }));
  }
  return fastest * static_cast<double>(bytes.size()) / piece;
}

}  // namespace

void printSizesOfBLAKE3(int rounds) {
  const std::vector<const blake3::Kernel*> kernels = blake3::kernels.supported();
  std::vector<std::uint8_t> bytes(kLargest);
  std::ranges::generate(bytes, std::minstd_rand(1));

  constexpr double never = std::numeric_limits<double>::infinity();
  double secondsOfSHA256 = never;
  std::vector<std::array<double, goals.size()>> seconds(kernels.size());  // For one digest.
  for (auto& row : seconds) row.fill(never);
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < goals.size(); ++i) {
      const std::size_t size = goals[i].size;
      const std::size_t times = std::max<std::size_t>(1, (64 << 10) / size);
      for (int turn = 0; turn < (size < kLargest ? 40 : 8); ++turn) {
        for (std::size_t k = 0; k < kernels.size(); ++k) {
          blake3::kernels.pin(kernels[k]);
          const double taken = secondsOf([&] {
            for (std::size_t time = 0; time < times; ++time) digest(bytes, size);
          });
          seconds[k][i] = std::min(seconds[k][i], taken / static_cast<double>(times));
        }
        if (size == kLargest) secondsOfSHA256 = std::min(secondsOfSHA256, sha256(bytes));
      }
    }
  }
  blake3::kernels.pin(nullptr);

  const double speedOfSHA256 = kLargest / secondsOfSHA256 / 1e9;
  const auto speed = [&](std::size_t k, std::size_t i) {
    return static_cast<double>(goals[i].size) / seconds[k][i] / 1e9;
  };
  std::printf("\nBLAKE3: GB/s, and times as fast as OpenSSL's SHA-256 of 8 MiB (%.2f GB/s)\n%-16s", speedOfSHA256,
              "bytes");
  for (const Goal& goal : goals) std::printf("%16zu", goal.size);
  for (std::size_t k = 0; k < kernels.size(); ++k) {
    std::printf("\n%-16s", kernels[k]->name);
    for (std::size_t i = 0; i < goals.size(); ++i)
      std::printf("%8.2f x%6.2f", speed(k, i), speed(k, i) / speedOfSHA256);
  }
  std::printf("\n");
  if ((processorFeatures() & kAVX512) == 0) std::printf("AVX-512         not on this machine\n");
  for (std::size_t k = 0; k < kernels.size(); ++k) {
    const std::string name = kernels[k]->name;
    if (name != "AVX2" && name != "AVX-512") continue;
    for (std::size_t i = 0; i < goals.size(); ++i) {
      printTarget("BLAKE3 with " + name + ", " + std::to_string(goals[i].size) + " bytes: speed / OpenSSL's SHA-256",
                  speed(k, i) / speedOfSHA256, "at least", name == "AVX2" ? goals[i].withAVX2 : goals[i].withAVX512);
    }
  }
}

}  // namespace tallyfold::bench

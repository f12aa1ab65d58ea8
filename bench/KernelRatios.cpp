// How many times as fast as its portable code each kernel is that this processor can run, next to the peers: OpenSSL's
// SHA-224 and, where it was found when this was built, the CRC-32 of ISA-L. The portable code of SHA-224 is measured
// next to the program sha224sum.
//
//     kernel_ratios [ROUNDS]        (21 when not given)

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <openssl/evp.h>
#include <span>
#include <string>
#include <vector>

#include "bench/Blake3Sizes.h"
#include "bench/Measure.h"
#include "core/blake3/BLAKE3Stream.h"
#include "core/blake3/Kernels.h"
#include "core/digests/CRC32.h"
#include "core/digests/SHA224.h"
#include "core/digests/crc32/Kernels.h"
#include "core/digests/sha224/Kernels.h"

#ifdef TALLYFOLD_BENCH_ISAL
#include <isa-l/crc.h>
#endif

namespace {

using namespace tallyfold;
using Bytes = std::span<const std::byte>;
using Hash = std::function<void(Bytes)>;

std::vector<std::byte> input(std::size_t size) {
  std::vector<std::byte> bytes(size);
  std::uint32_t value = 1;
  for (std::byte& byte : bytes) {
    value = value * 1664525 + 1013904223;
    byte = static_cast<std::byte>(value >> 24);
  }
  return bytes;
}

/// Keeps a result that nobody reads.
template <typename Value>
void use(Value value) {
  __asm__ volatile("" : : "g"(&value) : "memory");
}

const std::vector<std::size_t> sizes{64, 256, 1024, 2048, 4096, 8192, 16'384, 8 << 20};

/// In GB/s: a row for each of the hashes, with a figure for each of the sizes.
using Speeds = std::vector<std::vector<double>>;

Speeds printTable(const char* title, const std::vector<std::pair<std::string, Hash>>& hashes, int rounds) {
  constexpr std::size_t bytesPerTurn = 1 << 20;
  const std::vector<std::byte> bytes = input(sizes.back());
  std::printf("\n%s: GB/s, and times as fast as portable\n%-16s", title, "bytes");
  for (const std::size_t size : sizes) std::printf("%16zu", size);
  Speeds speeds(hashes.size());
  for (const std::size_t size : sizes) {
    const std::size_t times = std::max<std::size_t>(1, bytesPerTurn / size);
    std::vector<bench::Entrant> entrants;
    for (const auto& [name, hash] : hashes) {
      entrants.push_back({name, [&hash = hash, &bytes, times, size] {
                            for (std::size_t i = 0; i < times; ++i) hash(Bytes(bytes).first(size));
                          }});
    }
    const std::vector<double> seconds = bench::medians(entrants, rounds);
    for (std::size_t i = 0; i < hashes.size(); ++i) {
      speeds[i].push_back(static_cast<double>(times * size) / seconds[i] / 1e9);
    }
  }
  for (std::size_t i = 0; i < hashes.size(); ++i) {
    std::printf("\n%-16s", hashes[i].first.c_str());
    for (std::size_t j = 0; j < sizes.size(); ++j)
      std::printf("%8.2f x%6.2f", speeds[i][j], speeds[i][j] / speeds[0][j]);
  }
  std::printf("\n");
  return speeds;
}

template <typename Row>
void addKernels(std::vector<std::pair<std::string, Hash>>& hashes, KernelTable<Row>& kernels, const Hash& hash) {
  for (const Row* const row : kernels.supported()) {
    hashes.emplace_back(row->name, [&kernels, row, hash](Bytes bytes) {
      kernels.pin(row);
      hash(bytes);
    });
  }
}

void compareWithSha224sum(int rounds) {
  const test::TemporaryFolder folder;
  const std::string file = folder.path() / "file";
  const std::vector<std::byte> bytes = input(64 << 20);
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  sha224::kernels.pin(&sha224::kernelPortable);
  const std::vector<double> seconds = bench::medians({{"sha224sum",
                                                       [&] {
                                                         bench::run({"sha224sum", file});
                                                       }},
                                                      {"portable",
                                                       [&] {
                                                         SHA224 hash;
                                                         hash.update(bytes);
                                                         use(hash.finalize());
                                                       }}},
                                                     std::min(rounds, 7));
  sha224::kernels.pin(nullptr);
  bench::printTarget("SHA-224, portable, 64 MiB in memory: sha224sum / ours", seconds[0] / seconds[1], "at least", 1);
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 21;

  std::vector<std::pair<std::string, Hash>> hashes;
  addKernels(hashes, blake3::kernels, [](Bytes bytes) {
    BLAKE3Stream stream;
    stream.update(bytes);
    use(stream.finalize());
  });
  const Speeds ofBLAKE3 = printTable("BLAKE3", hashes, rounds);
  for (std::size_t i = 1; i < hashes.size(); ++i) {
    const std::string& name = hashes[i].first;
    const double bound = name == "AVX-512" ? 8 : name == "AVX2" ? 5 : 2.5;
    bench::printTarget("BLAKE3 with " + name + ", 8 MiB: speed / portable", ofBLAKE3[i].back() / ofBLAKE3[0].back(),
                       "at least", bound);
    double worst = std::numeric_limits<double>::infinity();
    for (std::size_t j = 0; j + 1 < sizes.size(); ++j) worst = std::min(worst, ofBLAKE3[i][j] / ofBLAKE3[0][j]);
    bench::printTarget("BLAKE3 with " + name + ", 64 bytes to 16 KiB, the worst: speed / portable", worst, "at least",
                       1);
  }

  bench::printSizesOfBLAKE3(rounds);

  hashes.clear();
  addKernels(hashes, sha224::kernels, [](Bytes bytes) {
    SHA224 hash;
    hash.update(bytes);
    use(hash.finalize());
  });
  const std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> method(EVP_MD_fetch(nullptr, "SHA2-224", nullptr), EVP_MD_free);
  hashes.emplace_back("OpenSSL", [&](Bytes bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    EVP_DigestInit_ex2(context, method.get(), nullptr);
    EVP_DigestUpdate(context, bytes.data(), bytes.size());
    EVP_DigestFinal_ex(context, digest, nullptr);
    EVP_MD_CTX_free(context);
    use(digest[0]);
  });
  const Speeds ofSHA224 = printTable("SHA-224", hashes, rounds);
  if (hashes.size() > 2) {
    bench::printTarget("SHA-224 with " + hashes[1].first + ", 8 MiB: speed / OpenSSL",
                       ofSHA224[1].back() / ofSHA224.back().back(), "at least", 0.95);
  }
  compareWithSha224sum(rounds);

  hashes.clear();
  addKernels(hashes, crc32::kernels, [](Bytes bytes) {
    CRC32 checksum;
    checksum.update(bytes);
    use(checksum.finalize());
  });
#ifdef TALLYFOLD_BENCH_ISAL
  hashes.emplace_back("ISA-L", [](Bytes bytes) {
    use(crc32_gzip_refl(0, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
  });
#endif
  const Speeds ofCRC32 = printTable("CRC-32", hashes, rounds);
  std::size_t fastest = 0;
  for (std::size_t i = 1; i < crc32::kernels.supported().size(); ++i) {
    fastest = i;
    bench::printTarget("CRC-32 with " + hashes[i].first + ", 8 MiB: speed / portable",
                       ofCRC32[i].back() / ofCRC32[0].back(), "at least", 4);
  }
#ifdef TALLYFOLD_BENCH_ISAL
  bench::printTarget("CRC-32 with " + hashes[fastest].first + ", 8 MiB: speed / ISA-L",
                     ofCRC32[fastest].back() / ofCRC32.back().back(), "at least", 0.9);
#else
  std::printf("The CRC-32 of ISA-L is not here to compare with (%s): install libisal-dev and build again.\n",
              hashes[fastest].first.c_str());
#endif
}

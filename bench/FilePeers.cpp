// How long hashing one large file takes, next to b3sum, rhash and OpenSSL in the same run, and what more lanes would
// bring. Look at ratios; a machine that does something else at the same time spoils those of several cores.
//
//     file_peers [MEBIBYTES [ROUNDS]]        (1024 and 5 when not given)

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <openssl/evp.h>
#include <sched.h>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "core/base/Processor.h"
#include "core/digests/LanePlan.h"
#include "core/services/HashService.h"

namespace {

using namespace tallyfold;
namespace fs = std::filesystem;

/// Runs `work`, and the programs that it starts, on the first core of this thread.
void onOneCore(const std::function<void()>& work) {
  cpu_set_t all;
  sched_getaffinity(0, sizeof all, &all);
  std::size_t first = 0;
  while (!CPU_ISSET(first, &all)) ++first;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(first, &one);
  sched_setaffinity(0, sizeof one, &one);
  work();
  sched_setaffinity(0, sizeof all, &all);
}

void dropFromCache(const fs::path& file) {
  const int descriptor = open(file.c_str(), O_RDONLY);
  fdatasync(descriptor);  // What is not on the disk yet stays in the cache.
  posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
  close(descriptor);
}

void opensslSHA256(std::size_t mebibytes) {
  static const std::vector<unsigned char> bytes(64 << 20, 'x');
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
  for (std::size_t done = 0; done < mebibytes << 20; done += bytes.size()) {
    EVP_DigestUpdate(context.get(), bytes.data(), std::min(bytes.size(), (mebibytes << 20) - done));
  }
  unsigned char digest[EVP_MAX_MD_SIZE];
  EVP_DigestFinal_ex(context.get(), digest, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  const int mebibytes = argc > 1 ? std::atoi(argv[1]) : 1024;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
  const test::TemporaryFolder folder;
  const fs::path file = folder.path() / "file";
  bench::writeLargeFile(file, mebibytes);
  const HashAlgorithmSet all = HashAlgorithmSet::all();
  const auto hash = [&](HashAlgorithmSet algorithms) {
    return [&file, algorithms] { HashService::hashFile(file, Uuid(), algorithms, {}, [](double) {}); };
  };
  std::vector<std::string> rhash{"rhash"};
  for (const char* name : {"--md5", "--sha1", "--sha224", "--sha256", "--sha384", "--sha512", "--crc32"}) {
    rhash.emplace_back(name);
  }
  rhash.push_back(file);

  const auto pinned = [](const std::function<void()>& work) { return [work] { onOneCore(work); }; };
  const std::vector<bench::Entrant> entrants{
      {"b3sum",
       [&] {
         bench::run({"b3sum", file});
       }},
      {"b3sum --num-threads 1",
       [&] {
         bench::run({"b3sum", "--num-threads", "1", file});
       }},
      {"b3sum --num-threads 1 --no-mmap",
       [&] {
         bench::run({"b3sum", "--num-threads", "1", "--no-mmap", file});
       }},
      {"BLAKE3, one core", pinned(hash({HashAlgorithm::blake3}))},
      {"BLAKE3", hash({HashAlgorithm::blake3})},
      {"rhash of seven", [&] { bench::run(rhash); }},
      {"all eight, one core", pinned(hash(all))},
      {"all eight", hash(all)},
      {"OpenSSL's SHA-256, in memory", [&] { opensslSHA256(static_cast<std::size_t>(mebibytes)); }},
      {"BLAKE3 and SHA-256, one core", pinned(hash(HashAlgorithm::recommended))},
      {"BLAKE3 and SHA-256", hash(HashAlgorithm::recommended)},
  };
  const std::vector<double> seconds = bench::medians(entrants, rounds);
  std::printf("one file of %d MiB, %u cores, median of %d\n", mebibytes, availableCores(), rounds);
  for (std::size_t i = 0; i < entrants.size(); ++i) {
    std::printf("%-32s %8.3f s\n", entrants[i].name.c_str(), seconds[i]);
  }
  bench::printTarget("BLAKE3 alone, one core: b3sum --num-threads 1 / ours", seconds[1] / seconds[3], "at least", 1);
  bench::printTarget("BLAKE3 alone, all cores: b3sum / ours", seconds[0] / seconds[4], "at least", 0.95);
  bench::printTarget("all eight, all cores: rhash of seven / ours", seconds[5] / seconds[7], "at least", 2);
  bench::printTarget("all eight, one core: rhash of seven / ours", seconds[5] / seconds[6], "at least", 1);
  bench::printTarget("BLAKE3 and SHA-256, all cores: OpenSSL's SHA-256 in memory / ours", seconds[8] / seconds[10],
                     "at least", 0.97);

  std::printf("\nthe same file, dropped from the page cache before each\n");
  const auto cold = [&](const char* name, const std::function<void()>& work) {
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
      dropFromCache(file);
      times.push_back(bench::secondsOf(work));
    }
    const double time = bench::median(times);
    std::printf("%-32s %8.3f s\n", name, time);
    return time;
  };
  const double reading = cold("cat", [&] { bench::run({"cat", file}); });
  const double blake3 = cold("BLAKE3", hash({HashAlgorithm::blake3}));
  const double allEight = cold("all eight", hash(all));
  std::printf("BLAKE3, cold file: cat / ours       %.2f\n", reading / blake3);
  bench::printTarget("all eight, cold file: the longer of cat and hashing it warm / ours",
                     std::max(reading, seconds[7]) / allEight, "at least", 0.8);

  std::printf("\nall eight, time of the slowest lane by the measured costs, and that of the slowest algorithm\n");
  const AlgorithmCosts& costs = measuredCosts();
  for (const unsigned lanes : {1U, 2U, 4U, 8U}) {
    std::printf("%u lanes: %.2f ns per byte, %.2f\n", lanes, planLanes(all, costs, lanes).time,
                std::ranges::max(costs));
  }
  bench::printTarget("all eight, 8 lanes: slowest lane / slowest algorithm",
                     planLanes(all, costs, 8).time / std::ranges::max(costs), "at most", 1.1);
}

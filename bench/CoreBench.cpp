// How fast the engine is, next to the SHA-256 of OpenSSL in the same run. Look at ratios: speeds depend on the machine.
//
//   cmake --preset release -DTALLYFOLD_BENCH=ON && cmake --build --preset release --target core_bench
//   build/release/bench/core_bench

#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <openssl/evp.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

#include "core/HashPipeline.h"
#include "core/HashService.h"

namespace {

using namespace tallyfold;

/// Bytes that no kernel could find easier than others.
std::vector<std::byte> input(std::size_t size) {
  std::vector<std::byte> bytes(size);
  std::uint32_t value = 1;
  for (std::byte& byte : bytes) {
    value = value * 1664525 + 1013904223;
    byte = static_cast<std::byte>(value >> 24);
  }
  return bytes;
}

void countBytes(benchmark::State& state, std::int64_t size) { state.SetBytesProcessed(state.iterations() * size); }

/// A file of so many bytes, in the page cache, for as long as the object lives.
class CachedFile {
 public:
  explicit CachedFile(std::int64_t size) {
    std::string name = (std::filesystem::temp_directory_path() / "tallyfold-bench-XXXXXX").string();
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) throw std::runtime_error("cannot create a file");
    close(descriptor);
    path_ = name;
    const std::vector<std::byte> bytes = input(static_cast<std::size_t>(size));
    std::ofstream(path_, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), size);
  }
  ~CachedFile() { std::filesystem::remove(path_); }
  CachedFile(const CachedFile&) = delete;
  CachedFile& operator=(const CachedFile&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// The peer: what a program does that knows nothing but OpenSSL.
class OpenSSLSHA256 {
 public:
  OpenSSLSHA256() { EVP_DigestInit_ex(context_, method(), nullptr); }
  ~OpenSSLSHA256() { EVP_MD_CTX_free(context_); }
  OpenSSLSHA256(const OpenSSLSHA256&) = delete;
  OpenSSLSHA256& operator=(const OpenSSLSHA256&) = delete;

  void update(const void* bytes, std::size_t size) { EVP_DigestUpdate(context_, bytes, size); }
  std::array<unsigned char, EVP_MAX_MD_SIZE> finalize() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    EVP_DigestFinal_ex(context_, digest.data(), nullptr);
    return digest;
  }

 private:
  static const EVP_MD* method() {
    static EVP_MD* const fetched = EVP_MD_fetch(nullptr, "SHA-256", nullptr);
    return fetched;
  }

  EVP_MD_CTX* context_ = EVP_MD_CTX_new();
};

void memoryOpenSSLSHA256(benchmark::State& state) {
  const std::vector<std::byte> bytes = input(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    OpenSSLSHA256 hash;
    hash.update(bytes.data(), bytes.size());
    benchmark::DoNotOptimize(hash.finalize());
  }
  countBytes(state, state.range(0));
}

void memory(benchmark::State& state, HashAlgorithmSet algorithms) {
  const std::vector<std::byte> bytes = input(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    HashPipeline pipeline(algorithms);
    pipeline.update(bytes);
    benchmark::DoNotOptimize(pipeline.finalize());
  }
  countBytes(state, state.range(0));
}

void fileOpenSSLSHA256(benchmark::State& state) {
  const CachedFile file(state.range(0));
  std::vector<std::byte> buffer(1 << 16);
  for (auto _ : state) {
    OpenSSLSHA256 hash;
    const int descriptor = open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
    for (ssize_t count = 0; (count = read(descriptor, buffer.data(), buffer.size())) > 0;) {
      hash.update(buffer.data(), static_cast<std::size_t>(count));
    }
    close(descriptor);
    benchmark::DoNotOptimize(hash.finalize());
  }
  countBytes(state, state.range(0));
}

void hashFile(benchmark::State& state, HashAlgorithmSet algorithms) {
  const CachedFile file(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(HashService::hashFile(file.path(), Uuid(), algorithms, {}, [](double) {}));
  }
  countBytes(state, state.range(0));
}

constexpr std::int64_t small = 4 << 10;
constexpr std::int64_t large = 64 << 20;

const bool registered = [] {
  const auto add = [](const std::string& name, auto... run) {
    benchmark::RegisterBenchmark(name.c_str(), run...)->Arg(small)->Arg(large)->Unit(benchmark::kMicrosecond);
  };
  add("memory/OpenSSL SHA-256", memoryOpenSSLSHA256);
  for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
    add("memory/" + std::string(algorithm.rawValue()), memory, HashAlgorithmSet{algorithm});
  }
  add("file/OpenSSL SHA-256", fileOpenSSLSHA256);
  add("file/hashFile SHA-256", hashFile, HashAlgorithmSet{HashAlgorithm::sha256});
  add("file/hashFile recommended", hashFile, HashAlgorithm::recommended);
  add("file/hashFile all", hashFile, HashAlgorithmSet::all());
  return true;
}();

}  // namespace

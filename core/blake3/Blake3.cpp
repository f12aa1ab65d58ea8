#include "core/blake3/Blake3.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "core/blake3/Constants.h"

using namespace tallyfold::blake3;

namespace {

using ChainingValue = std::array<std::uint32_t, 8>;
using MessageWords = std::array<std::uint32_t, 16>;

/// Levels of the tree below the root: 2^54 chunks of 2^10 bytes are the 2^64 bytes that BLAKE3 can take.
constexpr std::size_t kMaximumDepth = 54;

}  // namespace

struct tf_blake3 {
  ChainingValue chunkChainingValue;
  std::uint64_t chunkCounter;
  std::array<std::uint8_t, kBlockSize> block;  // Zero behind blockLength.
  std::uint8_t blockLength;
  std::uint8_t blocksCompressed;
  std::uint32_t chunkFlags;
  ChainingValue keyWords;
  std::array<ChainingValue, kMaximumDepth> stack;  // Of completed left subtrees, the largest at the bottom.
  std::uint32_t stackLength;
  std::uint32_t baseFlags;
};

namespace {

/// Everything a compression takes. Kept back until it is known whether this is the root.
struct Node {
  ChainingValue chainingValue;
  MessageWords message;
  std::uint64_t counter;
  std::uint32_t blockLength;
  std::uint32_t flags;

  [[nodiscard]] ChainingValue compress(std::uint32_t moreFlags = 0) const {
    std::array<std::uint32_t, 16> output;
    tf_b3_compress(chainingValue.data(), message.data(), counter, blockLength, flags | moreFlags, output.data());
    ChainingValue result;
    std::copy_n(output.begin(), result.size(), result.begin());
    return result;
  }
};

MessageWords littleEndianWords(const std::uint8_t* block) {
  MessageWords words;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::uint8_t* const b = block + 4 * i;
    words[i] = static_cast<std::uint32_t>(b[0]) | static_cast<std::uint32_t>(b[1]) << 8 |
               static_cast<std::uint32_t>(b[2]) << 16 | static_cast<std::uint32_t>(b[3]) << 24;
  }
  return words;
}

std::uint32_t startFlag(const tf_blake3& context) { return context.blocksCompressed == 0 ? kChunkStart : 0U; }

Node parentNode(const tf_blake3& context, const ChainingValue& left, const ChainingValue& right) {
  Node node{context.keyWords, {}, 0, kBlockSize, context.baseFlags | kParent};
  std::ranges::copy(left, node.message.begin());
  std::ranges::copy(right, node.message.begin() + left.size());
  return node;
}

/// The chunk in progress, ended with what is in the block buffer.
Node chunkNode(const tf_blake3& context) {
  return {context.chunkChainingValue, littleEndianWords(context.block.data()), context.chunkCounter,
          context.blockLength, context.chunkFlags | startFlag(context) | kChunkEnd};
}

void compressBlock(tf_blake3& context, const std::uint8_t* block) {
  const Node node{context.chunkChainingValue, littleEndianWords(block), context.chunkCounter, kBlockSize,
                  context.chunkFlags | startFlag(context)};
  context.chunkChainingValue = node.compress();
  ++context.blocksCompressed;
}

void clearBlock(tf_blake3& context) {
  context.block.fill(0);
  context.blockLength = 0;
}

/// Adds a finished chunk to the tree. Every trailing zero bit of the number of chunks so far is a pair of subtrees of
/// equal size that is complete now, and becomes one.
void pushChunk(tf_blake3& context, ChainingValue chainingValue) {
  std::uint64_t total = context.chunkCounter + 1;
  while (total % 2 == 0 && context.stackLength > 0) {
    chainingValue = parentNode(context, context.stack[--context.stackLength], chainingValue).compress();
    total /= 2;
  }
  if (context.stackLength < kMaximumDepth) context.stack[context.stackLength++] = chainingValue;
}

void completeChunk(tf_blake3& context) {
  pushChunk(context, chunkNode(context).compress());
  context.chunkChainingValue = context.keyWords;
  ++context.chunkCounter;
  clearBlock(context);
  context.blocksCompressed = 0;
  context.chunkFlags = context.baseFlags;
}

/// Absorbs bytes that all belong to the chunk in progress. Its last block stays in the buffer even when it is full:
/// only later input, or finalize, tells whether it is the end of the chunk or even of the root.
void absorb(tf_blake3& context, const std::uint8_t* data, std::size_t length) {
  if (context.blockLength > 0) {
    const std::size_t taken = std::min(length, kBlockSize - context.blockLength);
    std::memcpy(context.block.data() + context.blockLength, data, taken);
    context.blockLength = static_cast<std::uint8_t>(context.blockLength + taken);
    data += taken;
    length -= taken;
    if (length == 0) return;
    compressBlock(context, context.block.data());
    clearBlock(context);
  }
  for (; length > kBlockSize; data += kBlockSize, length -= kBlockSize) compressBlock(context, data);
  std::memcpy(context.block.data(), data, length);
  context.blockLength = static_cast<std::uint8_t>(length);
}

}  // namespace

tf_blake3* tf_blake3_create() {
  auto* const context = new (std::nothrow) tf_blake3{};
  if (context == nullptr) return nullptr;
  context->chunkChainingValue = kIV;
  context->keyWords = kIV;
  return context;
}

void tf_blake3_update(tf_blake3* context, const void* data, std::size_t length) {
  if (context == nullptr || data == nullptr) return;
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  while (length > 0) {
    std::size_t filled = context->blockLength + kBlockSize * context->blocksCompressed;
    if (filled == kChunkSize) {
      completeChunk(*context);
      filled = 0;
    }
    const std::size_t taken = std::min(length, kChunkSize - filled);
    absorb(*context, bytes, taken);
    bytes += taken;
    length -= taken;
  }
}

void tf_blake3_finalize(const tf_blake3* context, std::uint8_t* output) {
  if (output == nullptr) return;
  if (context == nullptr) {
    std::memset(output, 0, 32);
    return;
  }
  Node node = chunkNode(*context);
  for (std::uint32_t i = context->stackLength; i-- > 0;) {
    node = parentNode(*context, context->stack[i], node.compress());
  }
  for (const std::uint32_t word : node.compress(kRoot)) {
    for (int shift = 0; shift < 32; shift += 8) *output++ = static_cast<std::uint8_t>(word >> shift);
  }
}

void tf_blake3_destroy(tf_blake3* context) {
  if (context == nullptr) return;
  // The compiler may not leave out volatile writes, though the memory is never read again.
  volatile auto* const bytes = reinterpret_cast<volatile unsigned char*>(context);
  for (std::size_t i = 0; i < sizeof(tf_blake3); ++i) bytes[i] = 0;
  delete context;
}

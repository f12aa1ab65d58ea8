#include "core/blake3/Blake3.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "core/blake3/Constants.h"
#include "core/blake3/Kernels.h"
#include "core/blake3/Subtree.h"

using namespace tallyfold::blake3;

namespace {

using MessageWords = std::array<std::uint32_t, kMessageWords>;

/// Levels of the tree below the root: 2^54 chunks of 2^10 bytes are the 2^64 bytes that BLAKE3 can take.
constexpr std::size_t kMaximumDepth = 54;

/// How many chunks are compressed before their parents are: many, so that the upper levels of the tree, which are too
/// narrow for wide registers, are few; and few, so that the row stays in the first-level cache.
constexpr std::size_t kChunksAtOnce = kSubtreeSize / kChunkSize;

/// Chaining values of neighbours, from the second place on: of the chunk that was in progress and those compressed at
/// once. The first place is for the sibling of the first of them.
using ChunkRow = std::array<ChainingValue, kChunksAtOnce + 2>;

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
    ChainingValue result;
    kernels.current().compress(chainingValue.data(), message.data(), counter, blockLength, flags | moreFlags,
                               result.data());
    return result;
  }
};

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

/// Takes full blocks, at least one, into the chunk in progress, none of them its last.
void compressBlocks(tf_blake3& context, const std::uint8_t* blocks, std::size_t count) {
  const Kernel& kernel = kernels.current();
  std::uint32_t* const chainingValue = context.chunkChainingValue.data();
  if (context.blocksCompressed == 0) {
    kernel.absorb(chainingValue, blocks, 1, context.chunkCounter, context.chunkFlags | kChunkStart);
    ++context.blocksCompressed;
    blocks += kBlockSize;
    --count;
  }
  kernel.absorb(chainingValue, blocks, count, context.chunkCounter, context.chunkFlags);
  context.blocksCompressed = static_cast<std::uint8_t>(context.blocksCompressed + count);
}

void clearBlock(tf_blake3& context) {
  context.block.fill(0);
  context.blockLength = 0;
}

void push(tf_blake3& context, const ChainingValue& chainingValue) {
  if (context.stackLength < kMaximumDepth) context.stack[context.stackLength++] = chainingValue;
}

/// Adds `count` finished chunks, which `row` holds from its second place on, to the tree; there is more input behind
/// them. Level by level, every pair of subtrees that is complete now becomes one, the pairs of a level side by side.
void pushChunks(tf_blake3& context, ChunkRow& row, std::size_t count) {
  const Kernel& kernel = kernels.current();
  std::array<ChainingValue, kMaximumDepth + 1> withoutSibling;
  std::uint64_t present = 0;  // A bit per level that has such a subtree.
  std::uint64_t first = context.chunkCounter;
  ChunkRow other;
  ChunkRow* children = &row;
  ChunkRow* parents = &other;
  context.chunkCounter += count;
  for (std::size_t level = 0; count > 0; ++level, first /= 2) {
    std::size_t begin = 1;
    if (first % 2 == 1) {
      (*children)[--begin] = context.stack[--context.stackLength];
      ++count;
    }
    if (count % 2 == 1) {
      withoutSibling[level] = (*children)[begin + count - 1];
      present |= std::uint64_t{1} << level;
    }
    count /= 2;
    kernel.parents((*children)[begin].data(), count, (*parents)[1].data());
    std::swap(children, parents);
  }
  // The larger a subtree, the further down in the stack it belongs.
  while (present != 0) {
    const int level = 63 - std::countl_zero(present);
    present ^= std::uint64_t{1} << level;
    push(context, withoutSibling[static_cast<std::size_t>(level)]);
  }
}

/// Ends the chunk in progress, which is full and has more input behind it, with its chaining value in `result`.
void completeChunk(tf_blake3& context, ChainingValue& result) {
  result = chunkNode(context).compress();
  context.chunkChainingValue = context.keyWords;
  clearBlock(context);
  context.blocksCompressed = 0;
  context.chunkFlags = context.baseFlags;
}

/// Absorbs all complete chunks, and completes the chunk in progress, which is either empty or full. The last complete
/// chunk stays in progress when nothing of the input is behind it. Returns how many bytes it took.
std::size_t absorbChunks(tf_blake3& context, const std::uint8_t* data, std::size_t length) {
  ChunkRow row;
  std::size_t held = 0;
  if (context.blockLength > 0) completeChunk(context, row[++held]);
  const std::size_t total = length / kChunkSize;
  const bool endsWithChunk = length % kChunkSize == 0;
  std::size_t done = 0;
  do {
    const std::size_t count = std::min(total - done, kChunksAtOnce);
    const bool staysInProgress = endsWithChunk && done + count == total;
    kernels.current().chunks(data + done * kChunkSize, count, context.chunkCounter + held, row[1 + held].data(),
                             staysInProgress ? context.chunkChainingValue.data() : nullptr);
    pushChunks(context, row, held + count - (staysInProgress ? 1 : 0));
    held = 0;
    done += count;
  } while (done < total);
  if (endsWithChunk) {
    context.blocksCompressed = kChunkSize / kBlockSize - 1;
    context.blockLength = kBlockSize;
    std::memcpy(context.block.data(), data + length - kBlockSize, kBlockSize);
  }
  return total * kChunkSize;
}

/// Absorbs bytes, at least one, that all belong to the chunk in progress. Its last block stays in the buffer even when
/// it is full: only later input, or finalize, tells whether it is the end of the chunk or even of the root.
void absorb(tf_blake3& context, const std::uint8_t* data, std::size_t length) {
  if (context.blockLength > 0) {
    const std::size_t taken = std::min(length, kBlockSize - context.blockLength);
    std::memcpy(context.block.data() + context.blockLength, data, taken);
    context.blockLength = static_cast<std::uint8_t>(context.blockLength + taken);
    data += taken;
    length -= taken;
    if (length == 0) return;
    compressBlocks(context, context.block.data(), 1);
    clearBlock(context);
  }
  const std::size_t blocks = (length - 1) / kBlockSize;
  if (blocks > 0) compressBlocks(context, data, blocks);
  data += blocks * kBlockSize;
  length -= blocks * kBlockSize;
  std::memcpy(context.block.data(), data, length);
  context.blockLength = static_cast<std::uint8_t>(length);
}

/// Overwrites the context with zero bytes, also when it is never read again.
void clear(tf_blake3* context) {
  auto* const bytes = reinterpret_cast<unsigned char*>(context);
  std::size_t size = sizeof(tf_blake3);
  // For a size that it knows, GCC takes an instruction that is slow to start.
  __asm__("" : "+r"(size));
  for (std::size_t i = 0; i < size; ++i) bytes[i] = 0;
  // As far as the compiler knows, this reads them: it may widen the writes, but not leave them out.
  __asm__ volatile("" : : "r"(bytes) : "memory");
}

}  // namespace

ChainingValue tallyfold::blake3::subtree(const std::uint8_t* data, std::uint64_t number) {
  const Kernel& kernel = kernels.current();
  std::array<std::array<ChainingValue, kChunksAtOnce>, 2> rows;
  kernel.chunks(data, kChunksAtOnce, number * kChunksAtOnce, rows[0][0].data(), nullptr);
  std::size_t row = 0;
  for (std::size_t count = kChunksAtOnce / 2; count > 0; count /= 2, row ^= 1) {
    kernel.parents(rows[row][0].data(), count, rows[row ^ 1][0].data());
  }
  return rows[row][0];
}

void tallyfold::blake3::absorbSubtree(tf_blake3& context, ChainingValue chainingValue) {
  for (std::uint64_t total = context.chunkCounter / kChunksAtOnce + 1; total % 2 == 0; total /= 2) {
    chainingValue = parentNode(context, context.stack[--context.stackLength], chainingValue).compress();
  }
  push(context, chainingValue);
  context.chunkCounter += kChunksAtOnce;
}

tf_blake3* tf_blake3_create() {
  auto* const context = new (std::nothrow) tf_blake3;
  if (context == nullptr) return nullptr;
  clear(context);
  context->chunkChainingValue = kIV;
  context->keyWords = kIV;
  return context;
}

void tf_blake3_update(tf_blake3* context, const void* data, std::size_t length) {
  if (context == nullptr || data == nullptr) return;
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  while (length > 0) {
    std::size_t filled = context->blockLength + kBlockSize * context->blocksCompressed;
    if (filled == kChunkSize || (filled == 0 && length >= kChunkSize)) {
      const std::size_t absorbed = absorbChunks(*context, bytes, length);
      bytes += absorbed;
      length -= absorbed;
      if (length == 0) return;
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
  for (std::uint32_t word : node.compress(kRoot)) {
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
    std::memcpy(output, &word, sizeof word);
    output += sizeof word;
  }
}

void tf_blake3_destroy(tf_blake3* context) {
  if (context == nullptr) return;
  clear(context);
  delete context;
}

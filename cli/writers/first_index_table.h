// Numbers distinct keys in the order they are first seen: Find(key) gives the number of the
// first equal key, or a new number. Open addressing over a power-of-two table of key numbers,
// grown at half full, so that a mesh of millions of corners costs a few bytes a key instead of a
// node a key. Each slot keeps the high half of its key's hash beside the key's number and the
// slot is chosen from that half: a probe compares keys only when the halves agree, and growing
// re-places the slots without reading or hashing a key, as the keys are far apart in memory.
#pragma once

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace kly {
namespace cli {

// `Hash` gives a well-mixed 64-bit hash of a key; keys compare with ==.
template <class Key, class Hash>
class FirstIndexTable {
 public:
  explicit FirstIndexTable(size_t expected_keys = 0) {
    size_t capacity = 16;
    while (capacity < 2 * expected_keys) capacity *= 2;
    slots_.assign(capacity, kEmpty);
    keys_.reserve(expected_keys);
  }

  uint32_t Find(const Key& key) { return Find(key, Hash()(key)); }

  // Find with the key's hash computed by the caller, as for Prefetch beforehand.
  uint32_t Find(const Key& key, uint64_t hash) {
    const uint64_t high = hash >> 32;
    size_t slot = high & (slots_.size() - 1);
    while (slots_[slot] != kEmpty) {
      const uint64_t entry = slots_[slot];
      const uint32_t index = static_cast<uint32_t>(entry);
      if (entry >> 32 == high && keys_[index] == key) return index;
      slot = (slot + 1) & (slots_.size() - 1);
    }
    const uint32_t index = static_cast<uint32_t>(keys_.size());
    slots_[slot] = high << 32 | index;
    keys_.push_back(key);
    if (2 * keys_.size() > slots_.size()) Grow();
    return index;
  }

  // Brings the first slot of the key of hash `hash` towards the cache, so that a Find some keys
  // later does not wait for memory.
  void Prefetch(uint64_t hash) const {
    __builtin_prefetch(&slots_[(hash >> 32) & (slots_.size() - 1)]);
  }

  // The distinct keys, by their numbers; the table is spent afterwards.
  std::vector<Key> TakeKeys() { return std::move(keys_); }

 private:
  // No key number reaches UINT32_MAX, so no entry is all ones.
  static constexpr uint64_t kEmpty = std::numeric_limits<uint64_t>::max();

  void Grow() {
    std::vector<uint64_t> old(2 * slots_.size(), kEmpty);
    old.swap(slots_);
    for (uint64_t entry : old) {
      if (entry == kEmpty) continue;
      size_t slot = (entry >> 32) & (slots_.size() - 1);
      while (slots_[slot] != kEmpty) slot = (slot + 1) & (slots_.size() - 1);
      slots_[slot] = entry;
    }
  }

  std::vector<uint64_t> slots_;
  std::vector<Key> keys_;
};

// Mixes 32-bit words into a hash (the 64-bit finaliser of MurmurHash3 after each word), for
// keys made of floats' bits and indices.
inline uint64_t MixWords(const uint32_t* words, size_t count) {
  uint64_t h = 0x9e3779b97f4a7c15ull;
  for (size_t i = 0; i < count; ++i) {
    h ^= words[i];
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdull;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ull;
    h ^= h >> 33;
  }
  return h;
}

}  // namespace cli
}  // namespace kly

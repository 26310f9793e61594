// Numbers distinct keys in the order they are first seen: Find(key) gives the number of the
// first equal key, or a new number. Open addressing over a power-of-two table of key numbers,
// grown at half full, so that a mesh of millions of corners costs a few bytes a key instead of a
// node a key.
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

  uint32_t Find(const Key& key) {
    size_t slot = Slot(key);
    while (slots_[slot] != kEmpty) {
      if (keys_[slots_[slot]] == key) return slots_[slot];
      slot = (slot + 1) & (slots_.size() - 1);
    }
    const uint32_t index = static_cast<uint32_t>(keys_.size());
    slots_[slot] = index;
    keys_.push_back(key);
    if (2 * keys_.size() > slots_.size()) Grow();
    return index;
  }

  // The distinct keys, by their numbers; the table is spent afterwards.
  std::vector<Key> TakeKeys() { return std::move(keys_); }

 private:
  static constexpr uint32_t kEmpty = std::numeric_limits<uint32_t>::max();

  size_t Slot(const Key& key) const {
    return static_cast<size_t>(Hash()(key)) & (slots_.size() - 1);
  }

  void Grow() {
    slots_.assign(2 * slots_.size(), kEmpty);
    for (uint32_t index = 0; index < keys_.size(); ++index) {
      size_t slot = Slot(keys_[index]);
      while (slots_[slot] != kEmpty) slot = (slot + 1) & (slots_.size() - 1);
      slots_[slot] = index;
    }
  }

  std::vector<uint32_t> slots_;
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

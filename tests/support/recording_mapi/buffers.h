// MAPI's memory with bookkeeping: guard bytes around every block, freed blocks kept and watched until the reset.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace recording {

class Buffers {
 public:
  // Frees everything; no block is valid any more.
  void reset() { blocks_.clear(); }

  // `origin`: the block's source, for a report of leaks.
  void* allocate(std::size_t size, std::string origin);
  // Null when `top` is not a live block of allocate.
  void* allocateMore(std::size_t size, void* top);
  // False, with a recorded fault, for anything but a live block of allocate.
  bool free(void* block);

  uint32_t liveTop() const { return count(true); }
  uint32_t liveChained() const { return count(false); }
  std::string describeLive() const;

  // Notes a fault for each freed block that was written to.
  void checkFreedBlocks();

 private:
  struct Block {
    std::unique_ptr<BYTE[]> memory;
    std::size_t size;
    void* top;  // null: this is a top block itself
    std::string origin;
    bool live = true;
    bool reported = false;
  };

  void* add(std::size_t size, void* top, std::string origin);
  uint32_t count(bool top) const;
  static bool guardsIntact(const Block& block);
  void retire(Block& block);

  std::unordered_map<void*, Block> blocks_;
};

Buffers& buffers();

}  // namespace recording

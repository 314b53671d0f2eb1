// The pages of a store's database without SQLite: out of its file, and where the log has a newer form, out of the log.
// For store/maintenance only.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "disk.h"
#include "log_frames.h"
#include "page_source.h"

namespace fendrel::store {

class StorePages final : public PageSource {
public:
  // Throws EngineError where the files cannot be read.
  StorePages(const std::wstring& path, Disk& disk);

  std::uint32_t pageCount() const override { return pageCount_; }
  std::optional<std::span<const std::byte>> page(std::uint32_t number) override;

  // A store of version 1 has no checksums: each of its pages may be damaged and is handed out all the same.
  bool isCompared() const override { return hasChecksums_; }

  // Where the list of free pages begins; 0 if there is none, or if that is not known.
  std::uint32_t firstFreePage();

private:
  // Pages that were read last: rows are read one by one, and their neighbours in a page soon after.
  struct KeptPage {
    std::uint32_t number = 0;  // 0: none
    Bytes bytes;
  };

  bool readWhole(DiskFile& file, std::uint64_t at);
  bool readPage(std::uint32_t number);
  bool learnChecksums();
  void learnPageCount();

  std::unique_ptr<DiskFile> file_, log_;
  LogFrames frames_;
  std::uint32_t pagesInFile_ = 0, pageCount_ = 0;
  bool hasChecksums_ = false;
  Bytes page_;
  std::vector<KeptPage> kept_;  // each page has its place by its number
};

}  // namespace fendrel::store

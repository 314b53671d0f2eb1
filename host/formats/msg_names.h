// The names of properties above 0x8000 in a .msg file, which renumbers them in the order of its list:
//
//   storage __nameid_version1.0
//     __substg1.0_00020102   the sets of names, 16 bytes each; the first is number 3
//     __substg1.0_00030102   one entry per name, 8 bytes: the number, or the position of the text (4);
//                            the set's number times 2, plus 1 for a text (2); the entry's own number (2)
//     __substg1.0_00040102   the texts: length in bytes (4), UTF-16, padded to a multiple of 4
//     __substg1.0_10XX0102   the same entries sorted by a checksum, with that of the text instead of its position
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "session.h"

namespace fendrel::host {

class MsgNames {
 public:
  // Adds the names of an object's properties. The tags of the message and its attachments come from one store, so equal
  // tags have the same name.
  void add(IMAPIProp& object, std::span<const ULONG> tags);

  // The tag in the file; 0 for a property without a name.
  ULONG tagInFile(ULONG tag) const;

  struct Stream {
    ULONG tag;
    std::vector<std::uint8_t> bytes;
  };
  // The storage's streams.
  std::vector<Stream> streams() const;

 private:
  struct Name {
    GUID set{};
    bool isText = false;
    LONG number = 0;
    std::wstring text;
    bool operator==(const Name&) const = default;
  };

  std::vector<Name> names_;
  std::map<ULONG, std::size_t> numbers_;  // by the identifier in the store
};

}  // namespace fendrel::host

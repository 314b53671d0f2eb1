// The properties of a message or attachment, for writing them to a file.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "session.h"

namespace fendrel::host {

// A value that must be read as a stream. Text is UTF-16.
struct LongValue {
  ULONG tag = 0;
  std::uint64_t size = 0;
  ComPtr<IStream> stream;
};

class ObjectProperties {
 public:
  // subject names the object in a failure. Throws Failure(failed).
  ObjectProperties(IMAPIProp& object, const std::string& subject);

  // The values that GetProps returned, in the order of their identifiers, without errors.
  std::span<const SPropValue* const> values() const { return present_; }
  // The tags of long values; each is opened on request.
  std::span<const ULONG> longTags() const { return tooLong_; }
  LongValue openLong(ULONG tag) const;

  // Null or nothing if the object does not have it.
  const SPropValue* find(ULONG tag) const;
  std::wstring text(ULONG tag) const;
  std::optional<LONG> number(ULONG tag) const;
  std::optional<FILETIME> time(ULONG tag) const;  // nothing for a time of zero
  bool isLong(ULONG tag) const;

 private:
  IMAPIProp& owner_;
  std::string name_;
  MapiBuffer<SPropValue> block_;
  std::vector<const SPropValue*> present_;
  std::vector<ULONG> tooLong_;
};

using ByteSink = std::function<void(std::span<const std::uint8_t>)>;

// Copies a stream's bytes in pieces and returns their number; throws Failure(cancelled) when the user cancels. subject
// names the bytes in a failure.
std::uint64_t copyStream(IStream& from, const std::string& subject, const ByteSink& to);

}  // namespace fendrel::host

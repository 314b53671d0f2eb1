// The properties of a message or attachment before a save: the saved ones, overlaid with changes.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <variant>

#include "engine.h"
#include "stream_content.h"

namespace fendrel::provider {

// Changes by property identifier; the latest wins.
class PropertyChanges {
 public:
  struct Removed {};
  struct Content {
    PropertyTag tag;
    std::shared_ptr<DraftContent> content;
  };
  using Change = std::variant<Removed, Property, Content>;

  const std::map<ULONG, Change>& changes() const noexcept { return changes_; }
  bool empty() const noexcept { return changes_.empty(); }
  void clear() noexcept { changes_.clear(); }
  const Change* find(PropertyTag tag) const;
  void set(Property property);
  void set(Content content);
  void remove(PropertyTag tag);
  // The same changes for another owner; later stream writes affect only one of the two.
  PropertyChanges shared() const;

  // Splits them into the engine's lists.
  HRESULT moveInto(std::vector<Property>& set, std::vector<PropertyTag>& remove,
                   std::vector<store::ContentChange>& contents) const;

 private:
  std::map<ULONG, Change> changes_;
};

class DraftProperties {
 public:
  // Of a message in that folder.
  DraftProperties(std::shared_ptr<store::Engine> engine, const store::Id& folder)
      : engine_(std::move(engine)), folder_(folder) {}

  // Sets the place of the saved values; there is none before the first save.
  void setSaved(const store::Id& message, std::optional<std::uint32_t> attachment) {
    message_ = message;
    attachment_ = attachment;
  }
  bool isSaved() const noexcept { return !message_.empty(); }

  PropertyChanges& changes() noexcept { return changes_; }
  const PropertyChanges& changes() const noexcept { return changes_; }

  // One property for each tag, with long values loaded; tag 0 for a missing one.
  HRESULT read(std::span<const PropertyTag> tags, std::vector<Property>& found) const;

  // All properties; a value of more than `limit` bytes is unloaded.
  HRESULT readAll(std::uint64_t limit, std::vector<Property>& found) const;

  // The content for a client's OpenProperty with a stream. `create`: a missing property is created, an existing value
  // discarded.
  HRESULT openContent(ULONG tag, bool writable, bool create, std::shared_ptr<StreamContent>& content);

 private:
  HRESULT readSaved(std::span<const PropertyTag> tags, std::uint64_t limit, std::vector<Property>& found) const;
  HRESULT loadSaved(Property& property) const;
  HRESULT openForWriting(ULONG tag, const Property& present, bool create, std::shared_ptr<StreamContent>& content);

  std::shared_ptr<store::Engine> engine_;
  store::Id folder_;
  store::Id message_;
  std::optional<std::uint32_t> attachment_;
  PropertyChanges changes_;
};

}  // namespace fendrel::provider

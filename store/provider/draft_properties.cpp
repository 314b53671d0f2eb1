#include "draft_properties.h"

#include <algorithm>

#include "memory_rows.h"
#include "status_codes.h"

namespace fendrel::provider {

const PropertyChanges::Change* PropertyChanges::find(PropertyTag tag) const {
  const auto found = changes_.find(PROP_ID(tag));
  return found == changes_.end() ? nullptr : &found->second;
}

void PropertyChanges::set(Property property) { changes_.insert_or_assign(PROP_ID(property.tag), std::move(property)); }
void PropertyChanges::set(Content content) { changes_.insert_or_assign(PROP_ID(content.tag), std::move(content)); }
void PropertyChanges::remove(PropertyTag tag) { changes_.insert_or_assign(PROP_ID(tag), Removed{}); }

PropertyChanges PropertyChanges::shared() const {
  PropertyChanges others = *this;
  for (auto& [id, change] : others.changes_) {
    if (auto* content = std::get_if<Content>(&change)) content->content = content->content->shared();
  }
  return others;
}

HRESULT PropertyChanges::moveInto(std::vector<Property>& set, std::vector<PropertyTag>& remove,
                                  std::vector<store::ContentChange>& contents) const {
  for (const auto& [id, change] : changes_) {
    if (const auto* property = std::get_if<Property>(&change)) {
      set.push_back(*property);
    } else if (const auto* content = std::get_if<Content>(&change)) {
      std::shared_ptr<store::ContentWriter> writer;
      if (const HRESULT result = content->content->writer(writer); FAILED(result)) return result;
      // Content that an earlier save has taken is in the store already.
      if (!writer->saved()) contents.push_back({content->tag, std::move(writer)});
    } else {
      remove.push_back(PROP_TAG(PT_UNSPECIFIED, id));
    }
  }
  return S_OK;
}

HRESULT DraftProperties::readSaved(std::span<const PropertyTag> tags, std::uint64_t limit,
                                   std::vector<Property>& found) const {
  found.clear();
  if (!isSaved()) return S_OK;
  const auto status = attachment_ ? engine_->readAttachmentProperties(message_, *attachment_, tags, found, limit)
                                  : engine_->readMessageProperties(message_, tags, found, limit);
  return toResult(status);
}

HRESULT DraftProperties::loadSaved(Property& property) const {
  if (!std::holds_alternative<store::UnloadedValue>(property.value)) return S_OK;
  std::shared_ptr<store::ContentReader> reader;
  const auto status = engine_->openContent(message_, attachment_, property.tag, reader);
  if (status != store::Status::Ok) return toResult(status);
  const HRESULT result = loadContent(*reader, property.tag, property.value);
  // Too long for memory: the property stays unloaded, which gives its reader this error.
  return result == MAPI_E_NOT_ENOUGH_MEMORY ? S_OK : result;
}

HRESULT DraftProperties::read(std::span<const PropertyTag> tags, std::vector<Property>& found) const {
  found.clear();
  std::vector<PropertyTag> saved;
  for (const PropertyTag tag : tags) {
    if (!changes_.find(tag)) saved.push_back(tag);
  }
  std::vector<Property> present;
  if (!saved.empty()) {
    const HRESULT result = readSaved(saved, store::defaultValueLimit, present);
    if (FAILED(result)) return result;
    for (Property& property : present) {
      if (const HRESULT failed = loadSaved(property); FAILED(failed)) return failed;
    }
  }
  for (const PropertyTag tag : tags) {
    const auto* change = changes_.find(tag);
    if (!change) {
      found.push_back(findProperty(present, tag));
    } else if (const auto* property = std::get_if<Property>(change)) {
      found.push_back(*property);
    } else if (const auto* content = std::get_if<PropertyChanges::Content>(change)) {
      Property loaded{content->tag, store::UnloadedValue{content->content->size()}};
      const HRESULT result = content->content->value(content->tag, loaded.value);
      if (FAILED(result) && result != MAPI_E_NOT_ENOUGH_MEMORY) return result;
      found.push_back(std::move(loaded));
    } else {
      found.push_back({});
    }
  }
  return S_OK;
}

HRESULT DraftProperties::readAll(std::uint64_t limit, std::vector<Property>& found) const {
  if (const HRESULT result = readSaved({}, limit, found); FAILED(result)) return result;
  std::erase_if(found, [&](const Property& property) { return changes_.find(property.tag) != nullptr; });
  for (const auto& [id, change] : changes_.changes()) {
    if (const auto* property = std::get_if<Property>(&change)) {
      found.push_back(*property);
    } else if (const auto* content = std::get_if<PropertyChanges::Content>(&change)) {
      Property loaded{content->tag, store::UnloadedValue{content->content->size()}};
      if (content->content->size() <= limit) {
        if (const HRESULT result = content->content->value(content->tag, loaded.value); FAILED(result)) return result;
      }
      found.push_back(std::move(loaded));
    }
  }
  std::ranges::sort(found, {}, [](const Property& property) { return PROP_ID(property.tag); });
  return S_OK;
}

HRESULT DraftProperties::openContent(ULONG tag, bool writable, bool create, std::shared_ptr<StreamContent>& content) {
  const PropertyTag stored = storedTag(tag);
  const auto* change = changes_.find(tag);
  if (const auto* pending = change ? std::get_if<PropertyChanges::Content>(change) : nullptr) {
    const bool sameForm =
        (dynamic_cast<AnsiContent*>(pending->content.get()) != nullptr) == (PROP_TYPE(tag) == PT_STRING8);
    if (!create && pending->tag == stored && sameForm) {
      content = pending->content;
      return S_OK;
    }
  }
  Property present{};
  if (change) {
    std::vector<Property> found;
    if (const HRESULT result = read(std::span(&stored, 1), found); FAILED(result)) return result;
    present = std::move(found.front());
  } else {
    std::vector<Property> found;
    const PropertyTag asked = anyType(tag);
    if (const HRESULT result = readSaved(std::span(&asked, 1), store::defaultValueLimit, found); FAILED(result))
      return result;
    if (!found.empty()) present = std::move(found.front());
  }
  if (present.tag != stored) present = {};
  if (present.tag == 0 && !(writable && create)) return MAPI_E_NOT_FOUND;
  if (writable) return openForWriting(tag, present, create, content);

  if (std::holds_alternative<store::UnloadedValue>(present.value)) {
    if (PROP_TYPE(tag) != PT_STRING8) {
      std::shared_ptr<store::ContentReader> reader;
      const auto status = engine_->openContent(message_, attachment_, present.tag, reader);
      if (status != store::Status::Ok) return toResult(status);
      content = std::make_shared<SavedContent>(std::move(reader));
      return S_OK;
    }
    if (const HRESULT result = loadSaved(present); FAILED(result)) return result;
  }
  content = std::make_shared<MemoryContent>(streamBytes(PROP_TYPE(tag), present.value), MemoryContent::Commit{});
  return S_OK;
}

HRESULT DraftProperties::openForWriting(ULONG tag, const Property& present, bool create,
                                        std::shared_ptr<StreamContent>& content) {
  std::shared_ptr<DraftContent> draft;
  if (PROP_TYPE(tag) == PT_STRING8) {
    Property text = present;
    if (!create && text.tag != 0) {
      if (const HRESULT result = loadSaved(text); FAILED(result)) return result;
    }
    draft = std::make_shared<AnsiContent>(engine_, !create && textOf(text) ? *textOf(text) : std::u16string());
  } else {
    auto wide = std::make_shared<WideContent>(engine_, PROP_TYPE(tag) == PT_BINARY ? folder_ : store::Id());
    if (!create && std::holds_alternative<store::UnloadedValue>(present.value)) {
      std::shared_ptr<store::ContentReader> reader;
      const auto status = engine_->openContent(message_, attachment_, present.tag, reader);
      if (status != store::Status::Ok) return toResult(status);
      if (const HRESULT result = wide->copyFrom(*reader); FAILED(result)) return result;
    } else if (!create && present.tag != 0) {
      if (const HRESULT result = wide->write(0, streamBytes(PROP_TYPE(tag), present.value)); FAILED(result))
        return result;
    }
    draft = wide;
  }
  changes_.set(PropertyChanges::Content{storedTag(tag), draft});
  content = draft;
  return S_OK;
}

}  // namespace fendrel::provider

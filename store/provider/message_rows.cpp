#include "message_rows.h"

#include <algorithm>

#include "status_codes.h"

namespace fendrel::provider {
namespace {

// Maps a table's columns to the engine's columns, and the engine's rows to the table's.
class Plan {
 public:
  Plan(const StoreScope& scope, std::span<const PropertyTag> columns) : scope_(scope), columns_(columns) {
    for (const PropertyTag column : columns) {
      if (isComputedMessageTag(column)) {
        const auto sources = sourcesOf(column);
        stored_.insert(stored_.end(), sources.begin(), sources.end());
      } else if (PROP_ID(column) != 0) {  // PR_NULL is never stored
        stored_.push_back(column);
      }
    }
  }

  std::span<const PropertyTag> stored() const noexcept { return stored_; }

  std::vector<Property> rowOf(store::MessageRow& row) const {
    std::vector<Property> values;
    values.reserve(columns_.size());
    std::size_t next = 0;
    for (const PropertyTag column : columns_) {
      if (isComputedMessageTag(column)) {
        const auto sources = std::span(row.values).subspan(next, sourcesOf(column).size());
        values.push_back(computedMessageProperty(scope_, row.message, column, scope_.writable, sources));
        next += sources.size();
      } else {
        values.push_back(PROP_ID(column) != 0 ? std::move(row.values[next++]) : Property{});
      }
    }
    return values;
  }

 private:
  const StoreScope& scope_;
  std::span<const PropertyTag> columns_;
  std::vector<PropertyTag> stored_;  // of all columns, concatenated
};

}  // namespace

std::vector<PropertyTag> MessageRows::defaultColumns() const {
  return {
      PR_ENTRYID,        PR_SUBJECT_W,     PR_MESSAGE_CLASS_W,    PR_MESSAGE_FLAGS,         PR_MESSAGE_SIZE,
      PR_HASATTACH,      PR_SENDER_NAME_W, PR_CLIENT_SUBMIT_TIME, PR_MESSAGE_DELIVERY_TIME, PR_LAST_MODIFICATION_TIME,
      PR_IMPORTANCE,     PR_SENSITIVITY,   PR_DISPLAY_TO_W,       PR_DISPLAY_NAME_W,        PR_NORMALIZED_SUBJECT_W,
      PR_OBJECT_TYPE,    PR_RECORD_KEY,    PR_INSTANCE_KEY,       PR_DISPLAY_CC_W,          PR_MSG_STATUS,
      PR_PARENT_ENTRYID, PR_STORE_ENTRYID, PR_STORE_RECORD_KEY,   PR_MAPPING_SIGNATURE};
}

std::vector<PropertyTag> MessageRows::allColumns() const {
  std::vector<PropertyTag> columns = defaultColumns();
  const auto add = [&](std::span<const PropertyTag> tags) {
    for (const PropertyTag tag : tags) {
      if (std::find(columns.begin(), columns.end(), tag) == columns.end()) columns.push_back(tag);
    }
  };
  add(computedMessageTags());
  constexpr PropertyTag usual[] = {PR_CONVERSATION_TOPIC_W,
                                   PR_SENDER_ENTRYID,
                                   PR_SENDER_SEARCH_KEY,
                                   PR_SENT_REPRESENTING_NAME_W,
                                   PR_SENT_REPRESENTING_ENTRYID,
                                   PR_SENT_REPRESENTING_SEARCH_KEY,
                                   PR_COMMENT_W,
                                   PR_PRIORITY};
  add(usual);
  return columns;
}

HRESULT MessageRows::scan(std::span<const PropertyTag> columns, const RowSink& sink) {
  if (columns.empty()) return scanKeys(sink);
  const Plan plan(*scope_, columns);
  return toResult(scope_->engine().readMessageRows(folder_, kind_, plan.stored(), [&](store::MessageRow&& row) {
    auto values = plan.rowOf(row);
    return sink(row.message.id, values);
  }));
}

HRESULT MessageRows::scanKeys(const RowSink& sink) {
  std::vector<store::Id> messages;
  const auto status = scope_->engine().listMessages(folder_, kind_, messages);
  std::vector<Property> none;
  for (const store::Id& message : messages) {
    if (!sink(message, none)) break;
  }
  return toResult(status);
}

HRESULT MessageRows::read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) {
  const Plan plan(*scope_, columns);
  return toResult(scope_->engine().readMessageRowsOf(folder_, rows, plan.stored(), [&](store::MessageRow&& row) {
    auto values = plan.rowOf(row);
    return sink(row.message.id, values);
  }));
}

}  // namespace fendrel::provider

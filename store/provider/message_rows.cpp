#include "message_rows.h"

#include <algorithm>

#include "status_codes.h"

namespace fendrel::provider {
namespace {

// Which of a table's columns the engine is asked for and how its row becomes ours.
class Plan {
public:
  Plan(const StoreScope& scope, std::span<const PropertyTag> columns) : scope_(scope), columns_(columns) {
    for (const PropertyTag column : columns) {
      const PropertyTag asked = isComputedMessageTag(column) ? sourceOf(column) : column;
      places_.push_back(asked ? stored_.size() : nowhere);
      if (asked) stored_.push_back(asked);
    }
  }

  std::span<const PropertyTag> stored() const noexcept { return stored_; }

  std::vector<Property> rowOf(store::MessageRow& row) const {
    const Property nothing{};
    std::vector<Property> values;
    values.reserve(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (isComputedMessageTag(columns_[i])) {
        const Property& source = places_[i] == nowhere ? nothing : row.values[places_[i]];
        values.push_back(computedMessageProperty(scope_, row.message, columns_[i], scope_.writable, source));
      } else {
        values.push_back(std::move(row.values[places_[i]]));
      }
    }
    return values;
  }

private:
  static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);
  const StoreScope& scope_;
  std::span<const PropertyTag> columns_;
  std::vector<PropertyTag> stored_;
  std::vector<std::size_t> places_;
};

}  // namespace

std::vector<PropertyTag> MessageRows::defaultColumns() const {
  return {PR_ENTRYID,     PR_SUBJECT_W,     PR_MESSAGE_CLASS_W,    PR_MESSAGE_FLAGS,         PR_MESSAGE_SIZE,
          PR_HASATTACH,   PR_SENDER_NAME_W, PR_CLIENT_SUBMIT_TIME, PR_MESSAGE_DELIVERY_TIME, PR_LAST_MODIFICATION_TIME,
          PR_IMPORTANCE,  PR_SENSITIVITY,   PR_DISPLAY_TO_W,       PR_DISPLAY_NAME_W,        PR_NORMALIZED_SUBJECT_W,
          PR_OBJECT_TYPE, PR_RECORD_KEY,    PR_INSTANCE_KEY};
}

std::vector<PropertyTag> MessageRows::allColumns() const {
  std::vector<PropertyTag> columns = defaultColumns();
  const auto add = [&](std::span<const PropertyTag> tags) {
    for (const PropertyTag tag : tags) {
      if (std::find(columns.begin(), columns.end(), tag) == columns.end()) columns.push_back(tag);
    }
  };
  add(computedMessageTags());
  constexpr PropertyTag usual[] = {PR_CONVERSATION_TOPIC_W,       PR_SENDER_ENTRYID,
                                   PR_SENDER_SEARCH_KEY,          PR_SENT_REPRESENTING_NAME_W,
                                   PR_SENT_REPRESENTING_ENTRYID,  PR_SENT_REPRESENTING_SEARCH_KEY,
                                   PR_COMMENT_W,                  PR_PRIORITY};
  add(usual);
  return columns;
}

HRESULT MessageRows::scan(std::span<const PropertyTag> columns, const RowSink& sink) {
  const Plan plan(*scope_, columns);
  return toResult(
      store::readMessageRows(scope_->database(), folder_, kind_, plan.stored(), [&](store::MessageRow&& row) {
        auto values = plan.rowOf(row);
        return sink(row.message.id, values);
      }));
}

HRESULT MessageRows::read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) {
  const Plan plan(*scope_, columns);
  return toResult(
      store::readMessageRowsOf(scope_->database(), folder_, rows, plan.stored(), [&](store::MessageRow&& row) {
        auto values = plan.rowOf(row);
        return sink(row.message.id, values);
      }));
}

}  // namespace fendrel::provider

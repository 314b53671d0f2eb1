#include "row_window.h"

#include <algorithm>
#include <set>

namespace fendrel::store {
namespace {

constexpr std::size_t mostRows = 10'000;

}  // namespace

void RowWindow::use(const Id& folder) {
  if (folder == folder_) return;
  folder_ = folder;
  order_.clear();
  rows_.clear();
}

void RowWindow::begin(const Id& folder, std::vector<std::string> order) {
  const std::lock_guard lock(mutex_);
  use(folder);
  order_ = std::move(order);
}

std::string RowWindow::stateOf(const Id& folder) {
  const std::lock_guard lock(mutex_);
  return folder == folder_ && !rows_.empty() ? state_ : std::string();
}

void RowWindow::follow(const std::string& from, const std::string& to, std::span<const std::string> changed) {
  const std::lock_guard lock(mutex_);
  if (from != state_) return;  // another thread has done so
  for (const std::string& message : changed) rows_.erase(message);
  state_ = to;
  isInDoubt_ = false;
}

void RowWindow::doubt() {
  const std::lock_guard lock(mutex_);
  isInDoubt_ = true;
}

bool RowWindow::isInDoubt() {
  const std::lock_guard lock(mutex_);
  return isInDoubt_;
}

bool RowWindow::has(const std::string& message, bool isWhole) const {
  const auto found = rows_.find(message);
  return found != rows_.end() && (found->second.isWhole || !isWhole);
}

std::optional<MailView> RowWindow::find(const Id& folder, const std::string& message, bool isWhole) {
  const std::lock_guard lock(mutex_);
  if (folder != folder_ || !has(message, isWhole)) return std::nullopt;
  return rows_.at(message);
}

std::vector<std::string> RowWindow::ahead(const Id& folder, std::span<const std::string> wanted, std::size_t most,
                                          bool isWhole) {
  const std::lock_guard lock(mutex_);
  if (folder != folder_) return {wanted.begin(), wanted.end()};
  std::vector<std::string> ids;
  std::set<std::string> known;
  const auto add = [&](const std::string& id) {
    if (ids.size() < most && !has(id, isWhole) && known.insert(id).second) ids.push_back(id);
  };
  std::ranges::for_each(wanted, add);
  if (wanted.size() < 2) return ids;  // a caller that wants one row does not read a table
  std::for_each(std::ranges::find(order_, wanted.front()), order_.end(), add);
  return ids;
}

void RowWindow::put(const Id& folder, std::map<std::string, MailView> rows, const std::string& state,
                    const std::string& since) {
  const std::lock_guard lock(mutex_);
  if (state.empty()) return;  // changes could not be followed
  use(folder);
  if (rows_.size() + rows.size() > mostRows) rows_.clear();
  if (rows_.empty()) {
    state_ = state;
    isInDoubt_ = false;
  } else if (state_ != since) {
    return;
  }
  for (auto& [message, view] : rows) rows_.insert_or_assign(message, std::move(view));
}

void RowWindow::clear() {
  const std::lock_guard lock(mutex_);
  rows_.clear();
}

}  // namespace fendrel::store

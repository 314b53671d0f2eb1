#include "row_window.h"

#include <algorithm>
#include <set>

namespace fendrel::store {
namespace {

constexpr std::chrono::seconds longestAge{30};
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
  rows_.clear();
  order_ = std::move(order);
}

std::optional<MailView> RowWindow::find(const Id& folder, const std::string& message, bool isWhole) {
  const std::lock_guard lock(mutex_);
  if (folder != folder_) return std::nullopt;
  const auto found = rows_.find(message);
  if (found == rows_.end() || (isWhole && !found->second.view.isWhole)) return std::nullopt;
  if (std::chrono::steady_clock::now() - found->second.read > longestAge) return std::nullopt;
  return found->second.view;
}

std::vector<std::string> RowWindow::ahead(const Id& folder, std::span<const std::string> wanted, std::size_t most) {
  std::vector<std::string> ids(wanted.begin(), wanted.end());
  const std::lock_guard lock(mutex_);
  if (folder != folder_ || wanted.size() < 2) return ids;  // who asks for one row reads no table
  std::set<std::string> known(ids.begin(), ids.end());
  auto next = std::ranges::find(order_, ids.front());
  for (; next != order_.end() && ids.size() < most; ++next) {
    if (known.insert(*next).second) ids.push_back(*next);
  }
  return ids;
}

void RowWindow::put(const Id& folder, std::map<std::string, MailView> rows) {
  const std::lock_guard lock(mutex_);
  use(folder);
  if (rows_.size() + rows.size() > mostRows) rows_.clear();
  const auto now = std::chrono::steady_clock::now();
  for (auto& [message, view] : rows) rows_.insert_or_assign(message, Row{std::move(view), now});
}

void RowWindow::clear() {
  const std::lock_guard lock(mutex_);
  rows_.clear();
}

}  // namespace fendrel::store

#include "job_file.h"

#include <fmt/format.h>
#include <toml++/toml.h>

#include <algorithm>
#include <functional>

#include "file_handle.h"
#include "paths.h"
#include "suggestion.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr std::size_t largestJob = 1 << 20;  // bytes

constexpr const char* quoteWords =
    R"(In double quotes a backslash begins an escape; write paths in single quotes: 'D:\reports')";

std::string readWhole(const std::string& file) {
  const std::string subject = fmt::format("Job '{}'", printable(file));
  const FileHandle handle = openToRead(longPath(fullPath(file)), FILE_SHARE_READ | FILE_SHARE_WRITE);
  if (!handle) throw systemFailure(ExitCode::wrongUsage, subject + " cannot be read", GetLastError());
  std::string text(largestJob + 1, '\0');
  std::size_t length = 0;
  DWORD read = 0;
  while (length < text.size() &&
         ReadFile(handle.get(), text.data() + length, static_cast<DWORD>(text.size() - length), &read, nullptr) &&
         read > 0)
    length += read;
  if (length > largestJob) throw Failure(ExitCode::wrongUsage, subject + " is not a job: it is too large.");
  text.resize(length);
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

bool isAbsolute(const std::string& path) {
  return path.starts_with('/') || path.starts_with('\\') || (path.size() > 1 && path[1] == ':');
}

// The directory part as given, separator included.
std::string directoryPart(const std::string& file) {
  const std::size_t separator = file.find_last_of("/\\");
  return separator == std::string::npos ? std::string() : file.substr(0, separator + 1);
}

class Reader {
 public:
  explicit Reader(const std::string& file) : directory_(directoryPart(file)) {
    reading_.job.file = file;
    reading_.job.request.skipExisting = true;
    reading_.job.request.retries = 5;
  }

  JobReading read(const std::string& text) {
    Job& job = reading_.job;
    toml::table table;
    try {
      table = toml::parse(text);
    } catch (const toml::parse_error& error) {
      std::string said(error.description());
      if (said.find("escape") != std::string::npos) said += std::string(". ") + quoteWords;
      problem(error.source().begin.line, said + '.');
      return reading_;
    }
    const Keys keys = {
        {"store", path(job.store)},
        {"mapi", choice(job.mapi, {"local", "system"})},
        {"profile", text_(job.profile)},
        {"password-file", path(job.passwordFile)},
        {"password-command", text_(job.passwordCommand)},
        {"folder", text_(job.request.target.to)},
        {"create", flag(job.request.target.create)},
        {"type", choice(job.request.target.type, {"instance", "folder"})},
        {"files", paths(job.selection.words)},
        {"recursive", flag(job.selection.recursive)},
        {"include", texts(job.selection.include)},
        {"exclude", texts(job.selection.exclude)},
        {"skip-existing", flag(job.request.skipExisting)},
        {"retries", number(job.request.retries, 100)},
        {"wait", number(job.request.wait, 3600)},
        {"settle", number(job.settle, 3600)},
        {"archive", path(job.archive)},
        {"failed", path(job.failed)},
        {"log-file", path(job.logFile)},
        {"retention", [&](const toml::node& node) { readRetention(node); }},
    };
    readTable(table, keys, "");
    if (job.request.target.to.empty() && !table.contains("folder")) problem(0, "'folder' is missing: where to post.");
    if (job.selection.words.empty() && !table.contains("files")) problem(0, "'files' is missing: what to post.");
    if (!job.passwordFile.empty() && !job.passwordCommand.empty())
      problem(0, "'password-file' and 'password-command' are both given; one is enough.");
    // Missing keys come after problems in lines, one of which may be the misspelt key.
    std::ranges::stable_sort(reading_.problems, {}, [](const JobProblem& each) { return each.line - 1; });
    return std::move(reading_);
  }

 private:
  using Use = std::function<void(const toml::node&)>;
  using Keys = std::vector<std::pair<std::string, Use>>;

  void problem(std::uint32_t line, const std::string& words) { reading_.problems.push_back({line, words}); }
  void problem(const toml::node& node, const std::string& words) { problem(node.source().begin.line, words); }

  void readTable(const toml::table& table, const Keys& keys, const std::string& prefix) {
    std::vector<std::string> names;
    for (const auto& [name, use] : keys) names.push_back(name);
    for (const auto& [key, node] : table) {
      current_ = prefix + std::string(key.str());
      const auto known = std::ranges::find(keys, std::string(key.str()), &Keys::value_type::first);
      if (known == keys.end())
        problem(key.source().begin.line, fmt::format("'{}' is unknown{}", printable(current_),
                                                     words(didYouMean(std::string(key.str()), names))));
      else
        known->second(node);
    }
  }

  static std::string words(const std::string& suggestion) { return suggestion.empty() ? "." : suggestion; }

  void readRetention(const toml::node& node) {
    const toml::table* table = node.as_table();
    if (!table) {
      problem(node, "'retention' is a table: write [retention], and below it older-than = \"90d\".");
      return;
    }
    MessageFilter& filter = reading_.job.retention;
    readTable(*table,
              {{"older-than", text_(filter.olderThan)},
               {"subject", text_(filter.subject)},
               {"class", text_(filter.messageClass)}},
              "retention.");
    if (filter.olderThan.empty()) {
      problem(node, "'retention.older-than' is missing: how old a message must be to be deleted, for example \"90d\".");
      return;
    }
    try {
      parseAge(filter.olderThan, "retention.older-than");
    } catch (const Failure& failure) {
      problem(*table->get("older-than"), failure.what());
    }
  }

  Use text_(std::string& target) {
    return [this, &target](const toml::node& node) {
      const auto value = node.value<std::string>();
      if (value && printable(*value) != *value)
        problem(node, fmt::format("'{}' holds control characters. {}.", current_, quoteWords));
      else if (value && !value->empty())
        target = *value;
      else
        problem(node, fmt::format("'{}' is a text in quotes that is not empty.", current_));
    };
  }

  Use path(std::string& target) {
    return [this, &target](const toml::node& node) {
      text_(target)(node);
      if (!target.empty() && !isAbsolute(target)) target = directory_ + target;
    };
  }

  Use choice(std::string& target, std::vector<std::string> values) {
    return [this, &target, values = std::move(values)](const toml::node& node) {
      const auto value = node.value<std::string>();
      if (value && std::ranges::find(values, *value) != values.end())
        target = *value;
      else
        problem(node, fmt::format("'{}' is \"{}\" or \"{}\".", current_, values[0], values[1]));
    };
  }

  Use flag(bool& target) {
    return [this, &target](const toml::node& node) {
      if (const toml::value<bool>* value = node.as_boolean())
        target = value->get();
      else
        problem(node, fmt::format("'{}' is true or false, without quotes.", current_));
    };
  }

  Use number(unsigned& target, unsigned most) {
    return [this, &target, most](const toml::node& node) {
      const toml::value<std::int64_t>* value = node.as_integer();
      if (value && value->get() >= 0 && value->get() <= most)
        target = static_cast<unsigned>(value->get());
      else
        problem(node, fmt::format("'{}' is a whole number from 0 to {}.", current_, most));
    };
  }

  // One text, or several in brackets.
  Use texts(std::vector<std::string>& target) {
    return [this, &target](const toml::node& node) {
      std::string one;
      if (const toml::array* array = node.as_array(); array && !array->empty()) {
        for (const toml::node& each : *array) {
          one.clear();
          text_(one)(each);
          if (!one.empty()) target.push_back(one);
        }
      } else if (array) {
        problem(node, fmt::format("'{}' is empty.", current_));
      } else {
        text_(one)(node);
        if (!one.empty()) target.push_back(one);
      }
    };
  }

  Use paths(std::vector<std::string>& target) {
    return [this, &target](const toml::node& node) {
      texts(target)(node);
      for (std::string& each : target)
        if (each == "-")
          problem(node, "a job reads no standard input; name files.");
        else if (!isAbsolute(each))
          each = directory_ + each;
    };
  }

  std::string directory_, current_;
  JobReading reading_;
};

}  // namespace

JobReading readJob(const std::string& file) { return Reader(file).read(readWhole(file)); }

std::string problemWords(const Job& job, const JobProblem& problem) {
  if (problem.line == 0) return fmt::format("{}: {}", printable(job.file), problem.words);
  return fmt::format("{}:{}: {}", printable(job.file), problem.line, problem.words);
}

void useJob(const Job& job, CommandContext& context) {
  GlobalOptions& options = context.options;
  if (options.store.empty()) options.store = job.store;
  if (options.mapi.empty()) options.mapi = job.mapi;
  if (options.profile.empty()) options.profile = job.profile;
  if (options.passwordFile.empty() && options.passwordCommand.empty()) {
    options.passwordFile = job.passwordFile;
    options.passwordCommand = job.passwordCommand;
  }
  if (options.logFile.empty() && !job.logFile.empty()) context.keepLog(job.logFile);
}

}  // namespace fendrel::host

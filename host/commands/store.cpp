// fendrel store: maintenance of the local store's files.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "console.h"
#include "paths.h"
#include "store_files.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct Files {
  std::string file, to;
};

// A share in percent on standard error, for a person only; takes itself away at the end.
class Share {
 public:
  explicit Share(std::string doing) : what_(std::move(doing)) {}
  ~Share() { showProgress({}); }
  Share(const Share&) = delete;
  Share& operator=(const Share&) = delete;

  store::Watch watch() {
    return [this](std::uint64_t done, std::uint64_t total) {
      constexpr ULONGLONG redrawEvery = 200;  // milliseconds
      const ULONGLONG now = GetTickCount64();
      if (errorIsTerminal() && now - shown_ >= redrawEvery && now - start_ >= redrawEvery) {
        shown_ = now;
        const double share = total == 0 ? 1 : static_cast<double>(done) / static_cast<double>(total);
        showProgress(fmt::format("{} {:3.0f} %", what_, 100 * (share < 1 ? share : 1)));
      }
      return !cancelRequested();
    };
  }

 private:
  std::string what_;
  ULONGLONG start_ = GetTickCount64(), shown_ = 0;
};

Json jsonOf(const store::Finding& finding) {
  Json item = {{"folder", finding.folder.empty() ? Json(nullptr) : Json(printable(finding.folder))}};
  item["message"] = finding.isMessage ? Json(printable(finding.message)) : Json(nullptr);
  item["attachment"] = finding.attachment.empty() ? Json(nullptr) : Json(printable(finding.attachment));
  item["what"] = printable(finding.what);
  return item;
}

Json jsonOf(const std::vector<store::Finding>& findings) {
  Json list = Json::array();
  for (const store::Finding& finding : findings) list.push_back(jsonOf(finding));
  return list;
}

std::string wordsOf(const store::Finding& finding) {
  std::string where;
  const auto add = [&](const std::string& part) { where += (where.empty() ? "" : ", ") + part; };
  if (!finding.folder.empty()) add(fmt::format("Folder '{}'", printable(finding.folder)));
  if (finding.isMessage) add(fmt::format("message '{}'", printable(finding.message)));
  if (!finding.attachment.empty()) add(fmt::format("attachment '{}'", printable(finding.attachment)));
  return "  " + (where.empty() ? "" : where + ": ") + printable(finding.what);
}

ExitCode showFacts(CommandContext& context, const std::string& file) {
  const std::wstring path = storePath(context, file);
  const store::StoreFacts facts = keepHouse([&] { return store::readStoreFacts(path); });
  const auto line = [&](const char* name, const std::string& words) {
    context.line(fmt::format("{:<15} {}", name, words));
  };
  line("Store", printable(displayPath(path)));
  line("Schema version", fmt::format("{}", facts.version));
  line("Database",
       fmt::format("{}, {} of {}, {} of them free", counted(facts.databaseBytes, "byte"), counted(facts.pages, "page"),
                   counted(facts.pageBytes, "byte"), withThousands(facts.freePages)));
  line("Log", counted(facts.logBytes, "byte"));
  line("Content files",
       fmt::format("{}, {}", counted(facts.contentFiles, "file"), counted(facts.contentFileBytes, "byte")));
  line("Profiles", withThousands(facts.profiles));
  line("Message stores", withThousands(facts.stores));
  line("Folders", withThousands(facts.folders));
  line("Messages", fmt::format("{}, {}, {} of them with checksums", withThousands(facts.messages),
                               counted(facts.messageBytes, "byte"), withThousands(facts.messagesWithChecksum)));
  line("Attachments", withThousands(facts.attachments));
  line("Orphaned files", facts.leftoverFiles == 0 ? "none"
                                                  : fmt::format("{}, {}", counted(facts.leftoverFiles, "file"),
                                                                counted(facts.leftoverBytes, "byte")));
  context.document({{"store", displayPath(path)},
                    {"version", facts.version},
                    {"databaseBytes", facts.databaseBytes},
                    {"logBytes", facts.logBytes},
                    {"pages", facts.pages},
                    {"pageBytes", facts.pageBytes},
                    {"freePages", facts.freePages},
                    {"profiles", facts.profiles},
                    {"stores", facts.stores},
                    {"folders", facts.folders},
                    {"messages", facts.messages},
                    {"messagesWithChecksum", facts.messagesWithChecksum},
                    {"messageBytes", facts.messageBytes},
                    {"attachments", facts.attachments},
                    {"contentFiles", facts.contentFiles},
                    {"contentFileBytes", facts.contentFileBytes},
                    {"leftoverFiles", facts.leftoverFiles},
                    {"leftoverBytes", facts.leftoverBytes}});
  return ExitCode::done;
}

ExitCode checkFiles(CommandContext& context, const std::string& file) {
  const std::wstring path = storePath(context, file);
  Share share("Checking");
  const store::CheckResult result = keepHouse([&] { return store::checkStore(path, share.watch()); });
  context.line(fmt::format("Store {}: read {}, {}, {}, {} of content, {}.", printable(displayPath(path)),
                           counted(result.folders, "folder"), counted(result.messages, "message"),
                           counted(result.attachments, "attachment"), counted(result.contentBytes, "byte"),
                           counted(result.pages, "page")));
  for (const store::Finding& finding : result.damage) context.line(wordsOf(finding));
  if (result.leftoverFiles > 0)
    context.line(fmt::format("{} of {} left over; \"fendrel store compact\" deletes them.",
                             counted(result.leftoverFiles, "file"), counted(result.leftoverBytes, "byte")));
  if (result.damage.empty())
    context.line("Everything is whole.");
  else
    context.line(fmt::format("{} found. Keep this file; \"fendrel store salvage\" carries over what is whole.",
                             counted(result.damage.size(), "damage")));
  context.document({{"store", displayPath(path)},
                    {"whole", result.damage.empty()},
                    {"folders", result.folders},
                    {"messages", result.messages},
                    {"attachments", result.attachments},
                    {"contents", result.contents},
                    {"contentBytes", result.contentBytes},
                    {"pages", result.pages},
                    {"leftoverFiles", result.leftoverFiles},
                    {"leftoverBytes", result.leftoverBytes},
                    {"damage", jsonOf(result.damage)}});
  return result.damage.empty() ? ExitCode::done : ExitCode::damageFound;
}

ExitCode salvageFiles(CommandContext& context, const Files& files) {
  const std::wstring from = fullPath(files.file), to = fullPath(files.to);
  Share share("Salvaging");
  const store::SalvageResult result = keepHouse([&] { return store::salvageStore(from, to, share.watch()); });
  context.line(fmt::format("Carried over to {}: {}, {}, {}, {}.", printable(displayPath(to)),
                           counted(result.profiles, "profile"), counted(result.folders, "folder"),
                           counted(result.messages, "message"), counted(result.attachments, "attachment")));
  if (!result.mended.empty()) context.line("Carried over with something made anew:");
  for (const store::Finding& finding : result.mended) context.line(wordsOf(finding));
  if (result.leftOut.empty())
    context.line("Nothing was left out.");
  else
    context.line("Left out:");
  for (const store::Finding& finding : result.leftOut) context.line(wordsOf(finding));
  context.document({{"from", displayPath(from)},
                    {"to", displayPath(to)},
                    {"profiles", result.profiles},
                    {"stores", result.stores},
                    {"folders", result.folders},
                    {"messages", result.messages},
                    {"attachments", result.attachments},
                    {"contentBytes", result.contentBytes},
                    {"mended", jsonOf(result.mended)},
                    {"leftOut", jsonOf(result.leftOut)}});
  return result.leftOut.empty() ? ExitCode::done : ExitCode::damageFound;
}

ExitCode compactFiles(CommandContext& context, const std::string& file) {
  const std::wstring path = storePath(context, file);
  const store::CompactResult result = keepHouse([&] { return store::compactStore(path); });
  context.line(fmt::format("Store {}: {} before, {} now.", printable(displayPath(path)),
                           counted(result.bytesBefore, "byte"), counted(result.bytesAfter, "byte")));
  if (result.leftoverFiles > 0)
    context.line(fmt::format("{} of {} left over were deleted.", counted(result.leftoverFiles, "file"),
                             counted(result.leftoverBytes, "byte")));
  if (!result.logIsEmpty) context.line("Someone is reading; the log will shrink when they have done.");
  context.document({{"store", displayPath(path)},
                    {"bytesBefore", result.bytesBefore},
                    {"bytesAfter", result.bytesAfter},
                    {"leftoverFiles", result.leftoverFiles},
                    {"leftoverBytes", result.leftoverBytes},
                    {"logIsEmpty", result.logIsEmpty}});
  return ExitCode::done;
}

ExitCode backUp(CommandContext& context, const std::string& file) {
  const std::wstring from = storePath(context, {}), to = fullPath(file);
  Share share("Copying");
  const store::BackupResult result = keepHouse([&] { return store::backupStore(from, to, share.watch()); });
  context.line(fmt::format("Store {} was copied to {}: {}, {} in the database and {} in {}.",
                           printable(displayPath(from)), printable(displayPath(to)),
                           counted(result.messages, "message"), counted(result.databaseBytes, "byte"),
                           counted(result.contentFileBytes, "byte"), counted(result.contentFiles, "content file")));
  context.document({{"store", displayPath(from)},
                    {"copy", displayPath(to)},
                    {"messages", result.messages},
                    {"databaseBytes", result.databaseBytes},
                    {"contentFiles", result.contentFiles},
                    {"contentFileBytes", result.contentFileBytes}});
  return ExitCode::done;
}

constexpr const char* whichStore = "The store's database; else the one of --store, else the store in use";

}  // namespace

void addStoreCommand(CLI::App& app, CommandContext& context) {
  CLI::App* command = app.add_subcommand("store", "Keep the local store's files: look, check, copy, rescue");
  command->require_subcommand(1);
  command->footer(
      "A store is its database FILE and the folder FILE.files beside it. These commands work on the files\n"
      "and ask for no profile; who may read the files may use them.\n"
      "  fendrel store check\n"
      "  fendrel store backup D:\\copies\\monday.db");

  // One word, FILE, that can be left out.
  const auto addOne = [&](const char* name, const char* words, const char* footer, auto work) {
    const auto file = std::make_shared<std::string>();
    CLI::App* below = command->add_subcommand(name, words);
    below->add_option("FILE", *file, whichStore);
    below->footer(footer);
    below->callback([&context, file, work] {
      context.command = [file, work](CommandContext& running) { return work(running, *file); };
    });
  };
  addOne("info", "Show what is in a store and how much room it takes",
         "Nothing is changed. Example:\n  fendrel store info --json", showFacts);
  addOne("check", "Read every byte of a store and name what is damaged",
         "Nothing is changed, and others may post meanwhile. Exit code 0: everything is whole; 6: damage was found.\n"
         "Example:\n  fendrel store check D:\\copies\\monday.db",
         checkFiles);
  addOne("compact", "Give a store's free space back to the disk",
         "The database is rebuilt: that needs room for a second one, and whoever posts waits, so do it when\n"
         "nobody does. A power cut does no harm. Example:\n  fendrel store compact",
         compactFiles);

  const auto files = std::make_shared<Files>();
  CLI::App* below = command->add_subcommand("salvage", "Make a new store of what is whole in a damaged one");
  below->add_option("OLD", files->file, "The damaged store's database; it stays as it is")->required();
  below->add_option("NEW", files->to, "The new store's database; it must not be there yet")->required();
  below->footer(
      "A message is carried over when every byte of it is there, else it is left out and named. Stop what\n"
      "uses OLD first. Exit code 0: all was carried over; 6: something was left out.\n"
      "Example:\n  fendrel store salvage store.db rescued.db");
  below->callback([&context, files] {
    context.command = [files](CommandContext& running) { return salvageFiles(running, *files); };
  });

  const auto copy = std::make_shared<std::string>();
  below = command->add_subcommand("backup", "Copy the store in use as it is at one moment");
  below->add_option("FILE", *copy, "The copy's database; it must not be there yet. Its contents go to FILE.files")
      ->required();
  below->footer(
      "Others may post and delete meanwhile. A copy that fails leaves nothing. The copy is a store like any other:\n"
      "  fendrel store backup D:\\copies\\monday.db\n"
      "  fendrel store check D:\\copies\\monday.db");
  below->callback(
      [&context, copy] { context.command = [copy](CommandContext& running) { return backUp(running, *copy); }; });
}

}  // namespace fendrel::host

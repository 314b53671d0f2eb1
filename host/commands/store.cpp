// fendrel store: maintenance of the local store's files.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "console.h"
#include "fact_sheet.h"
#include "paths.h"
#include "progress.h"
#include "store_files.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct Files {
  std::string file, to;
};

store::Watch watchOf(Share& share) {
  return [&share](std::uint64_t done, std::uint64_t total) {
    share.show(done, total);
    return !cancelRequested();
  };
}

// A finding's parts, each once. As text: "Folder 'A', message 'B': what is wrong".
void addFindings(FactSheet& sheet, const char* name, const std::vector<store::Finding>& findings) {
  Json list = Json::array();
  for (const store::Finding& finding : findings) {
    Json item = Json::object();
    std::string where;
    const auto add = [&](const char* part, const char* words, const auto& text, bool isThere) {
      item[part] = isThere ? Json(printable(text)) : Json(nullptr);
      if (isThere) where += fmt::format("{}{} '{}'", where.empty() ? "" : ", ", words, printable(text));
    };
    add("folder", "Folder", finding.folder, !finding.folder.empty());
    add("message", "message", finding.message, finding.isMessage);
    add("attachment", "attachment", finding.attachment, !finding.attachment.empty());
    item["what"] = printable(finding.what);
    sheet.line(fmt::format("  {}{}{}", where, where.empty() ? "" : ": ", printable(finding.what)));
    list.push_back(std::move(item));
  }
  sheet.add({name, std::move(list), {}});
}

Fact pathFact(const char* name, const std::wstring& path) {
  const std::string shown = displayPath(path);
  return {name, shown, printable(shown)};
}

ExitCode showFacts(CommandContext& context, const std::string& file) {
  const std::wstring path = storePath(context, file);
  const store::StoreFacts facts = maintain([&] { return store::readStoreFacts(path); });
  FactSheet sheet(context);
  sheet.labelled("Store", "{}", pathFact("store", path));
  sheet.labelled("Schema version", "{}", numberFact("version", static_cast<std::uint64_t>(facts.version)));
  sheet.labelled("Database", "{}, {} of {}, {} of them free", numberFact("databaseBytes", facts.databaseBytes, "byte"),
                 numberFact("pages", facts.pages, "page"), numberFact("pageBytes", facts.pageBytes, "byte"),
                 numberFact("freePages", facts.freePages));
  sheet.labelled("Log", "{}", numberFact("logBytes", facts.logBytes, "byte"));
  sheet.labelled("Content files", "{}, {}", numberFact("contentFiles", facts.contentFiles, "file"),
                 numberFact("contentFileBytes", facts.contentFileBytes, "byte"));
  sheet.labelled("Profiles", "{}", numberFact("profiles", facts.profiles));
  sheet.labelled("Message stores", "{}", numberFact("stores", facts.stores));
  sheet.labelled("Folders", "{}", numberFact("folders", facts.folders));
  sheet.labelled("Messages", "{}, {}, {} of them with checksums", numberFact("messages", facts.messages),
                 numberFact("messageBytes", facts.messageBytes, "byte"),
                 numberFact("messagesWithChecksum", facts.messagesWithChecksum));
  sheet.labelled("Attachments", "{}", numberFact("attachments", facts.attachments));
  sheet.labelled("Orphaned files", "{}, {}", numberFact("leftoverFiles", facts.leftoverFiles, "file"),
                 numberFact("leftoverBytes", facts.leftoverBytes, "byte"));
  sheet.finish();
  return ExitCode::done;
}

ExitCode checkFiles(CommandContext& context, const std::string& file) {
  const std::wstring path = storePath(context, file);
  Share share("Checking");
  const store::CheckResult result = maintain([&] { return store::checkStore(path, watchOf(share)); });
  const bool isWhole = result.damage.empty();
  FactSheet sheet(context);
  sheet.add({"whole", isWhole, {}});
  sheet.line("Store {}: read {}, {}, {}, {} of content, {}.", pathFact("store", path),
             numberFact("folders", result.folders, "folder"), numberFact("messages", result.messages, "message"),
             numberFact("attachments", result.attachments, "attachment"),
             numberFact("contentBytes", result.contentBytes, "byte"), numberFact("pages", result.pages, "page"));
  sheet.add(numberFact("contents", result.contents));
  addFindings(sheet, "damage", result.damage);
  sheet.lineIf(result.leftoverFiles > 0, "{} of {}; \"fendrel store compact\" deletes them.",
               numberFact("leftoverFiles", result.leftoverFiles, "orphaned file"),
               numberFact("leftoverBytes", result.leftoverBytes, "byte"));
  if (isWhole)
    sheet.line("No damage was found.");
  else
    sheet.line(fmt::format("{} found. Keep this file; \"fendrel store salvage\" recovers undamaged messages.",
                           counted(result.damage.size(), "problem")));
  sheet.finish();
  return isWhole ? ExitCode::done : ExitCode::damageFound;
}

ExitCode salvageFiles(CommandContext& context, const Files& files) {
  const std::wstring from = fullPath(files.file), to = fullPath(files.to);
  Share share("Salvaging");
  const store::SalvageResult result = maintain([&] { return store::salvageStore(from, to, watchOf(share)); });
  FactSheet sheet(context);
  sheet.add(pathFact("from", from));
  sheet.line("Recovered to {}: {}, {}, {}, {}.", pathFact("to", to), numberFact("profiles", result.profiles, "profile"),
             numberFact("folders", result.folders, "folder"), numberFact("messages", result.messages, "message"),
             numberFact("attachments", result.attachments, "attachment"));
  sheet.add(numberFact("stores", result.stores));
  sheet.add(numberFact("contentBytes", result.contentBytes));
  if (!result.mended.empty()) sheet.line("Recreated in part:");
  addFindings(sheet, "mended", result.mended);
  sheet.line(result.leftOut.empty() ? "Nothing was left out." : "Left out:");
  addFindings(sheet, "leftOut", result.leftOut);
  sheet.finish();
  return result.leftOut.empty() ? ExitCode::done : ExitCode::damageFound;
}

ExitCode compactFiles(CommandContext& context, const std::string& file) {
  const std::wstring path = storePath(context, file);
  const store::CompactResult result = maintain([&] { return store::compactStore(path); });
  FactSheet sheet(context);
  sheet.line("Store {}: {} before, {} now.", pathFact("store", path),
             numberFact("bytesBefore", result.bytesBefore, "byte"),
             numberFact("bytesAfter", result.bytesAfter, "byte"));
  sheet.lineIf(result.leftoverFiles > 0, "{} of {} were deleted.",
               numberFact("leftoverFiles", result.leftoverFiles, "orphaned file"),
               numberFact("leftoverBytes", result.leftoverBytes, "byte"));
  if (!result.logIsEmpty) sheet.line("Another program is reading; the log shrinks when it is done.");
  sheet.add({"logIsEmpty", result.logIsEmpty, {}});
  sheet.finish();
  return ExitCode::done;
}

ExitCode backUp(CommandContext& context, const std::string& file) {
  const std::wstring from = storePath(context, {}), to = fullPath(file);
  Share share("Copying");
  const store::BackupResult result = maintain([&] { return store::backupStore(from, to, watchOf(share)); });
  FactSheet sheet(context);
  sheet.line("Store {} was copied to {}: {}, {} in the database and {} in {}.", pathFact("store", from),
             pathFact("copy", to), numberFact("messages", result.messages, "message"),
             numberFact("databaseBytes", result.databaseBytes, "byte"),
             numberFact("contentFileBytes", result.contentFileBytes, "byte"),
             numberFact("contentFiles", result.contentFiles, "content file"));
  sheet.finish();
  return ExitCode::done;
}

constexpr const char* whichStore = "The store's database; else the one of --store, else the store in use";

}  // namespace

void addStoreCommand(CLI::App& app, CommandContext& context) {
  CLI::App* command =
      app.add_subcommand("store", "Maintain the local store's files: info, check, backup, compact, salvage");
  command->require_subcommand(1);
  command->footer(
      "A store is its database FILE and the folder FILE.files beside it. These commands work on the files\n"
      "and need no profile, only the right to read the files.\n"
      "  fendrel store check\n"
      "  fendrel store backup D:\\copies\\monday.db");

  // Commands with one optional argument, FILE.
  const auto addOne = [&](const char* name, const char* words, const char* footer, auto work) {
    const auto file = std::make_shared<std::string>();
    CLI::App* below = command->add_subcommand(name, words);
    below->add_option("FILE", *file, whichStore);
    below->footer(footer);
    below->callback([&context, file, work] {
      context.command = [file, work](CommandContext& running) { return work(running, *file); };
    });
  };
  addOne("info", "Show what a store holds and how much space it takes",
         "Changes nothing. Example:\n  fendrel store info --json", showFacts);
  addOne("check", "Read every byte of a store and report damage",
         "Changes nothing; others may post meanwhile. Exit code 0: no damage; 6: damage was found.\n"
         "Example:\n"
         "  fendrel store check D:\\copies\\monday.db",
         checkFiles);
  addOne("compact", "Give a store's free space back to the disk",
         "Rebuilds the database: the disk needs room for a second one, and posting waits, so do it when nobody\n"
         "posts. A power cut does no harm. Example:\n"
         "  fendrel store compact",
         compactFiles);

  const auto files = std::make_shared<Files>();
  CLI::App* below = command->add_subcommand("salvage", "Make a new store from the undamaged messages of a damaged one");
  below->add_option("OLD", files->file, "The damaged store's database; it is not changed")->required();
  below->add_option("NEW", files->to, "The new store's database; it must not exist yet")->required();
  below->footer(
      "Recovers each message of which every byte is intact, and reports the others. First stop the programs\n"
      "that use OLD. Exit code 0: everything was recovered; 6: something was left out.\n"
      "Example:\n"
      "  fendrel store salvage store.db rescued.db");
  below->callback([&context, files] {
    context.command = [files](CommandContext& running) { return salvageFiles(running, *files); };
  });

  const auto copy = std::make_shared<std::string>();
  below = command->add_subcommand("backup", "Copy a consistent snapshot of the store while it is in use");
  below->add_option("FILE", *copy, "The copy's database; it must not exist yet. Its contents are copied to FILE.files")
      ->required();
  below->footer(
      "Others may post and delete meanwhile. A failed backup leaves nothing. The copy is a store like any other:\n"
      "  fendrel store backup D:\\copies\\monday.db\n"
      "  fendrel store check D:\\copies\\monday.db");
  below->callback(
      [&context, copy] { context.command = [copy](CommandContext& running) { return backUp(running, *copy); }; });
}

}  // namespace fendrel::host

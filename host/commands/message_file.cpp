#include "message_file.h"

#include <fmt/format.h>

#include "console.h"
#include "msg_writer.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Collects small writes into large ones.
class Collector {
 public:
  explicit Collector(NewFile& to) : file_(to) {}
  void add(std::span<const std::uint8_t> bytes) {
    if (waiting_.size() + bytes.size() > most) flush();
    if (bytes.size() > most)
      file_.write(bytes.data(), bytes.size());
    else
      waiting_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  void flush() {
    file_.write(waiting_.data(), waiting_.size());
    waiting_.clear();
  }

 private:
  static constexpr std::size_t most = 256 * 1024;
  NewFile& file_;
  std::string waiting_;
};

}  // namespace

void MessageForm::addOption(CLI::App& command, const std::string& words) {
  command.add_option("--as", name, words)->check(CLI::IsMember({"file", "msg", "eml"}))->type_name("FORM");
}

std::wstring MessageForm::extension() const { return L'.' + toWide(name); }

void writeMessage(IMessage& message, const MessageForm& form, NewFile& file, Progress& progress) {
  const WriteEvents events{[&](std::uint64_t bytes) { progress.addBytes(bytes); }, tellLeftOut};
  if (form.name == "msg") {
    writeMsg(message, file.handOver(), events);
    return;
  }
  Collector collector(file);
  writeEml(
      message, [&](std::span<const std::uint8_t> bytes) { collector.add(bytes); }, events);
  collector.flush();
}

void writeAttachment(const Attachment& attachment, NewFile& file, Progress& progress) {
  const ComPtr<IStream> stream = openBytes(*attachment.object.Get());
  const std::string subject = fmt::format("Attachment '{}'", printable(attachment.name));
  checkWhole(attachment, copyStream(*stream.Get(), subject, [&](std::span<const std::uint8_t> bytes) {
               file.write(bytes.data(), bytes.size());
               progress.addBytes(bytes.size());
             }));
}

void tellLeftOut(const std::wstring& name) {
  printError(fmt::format("fendrel: Attachment '{}' is not a file and was left out.", printable(name)));
}

}  // namespace fendrel::host

// An old report program: all its text is 8-bit. It posts a file into a folder through the plug-in's ANSI set, keeps
// the choice in both forms, posts the same file again from each, and reads the error text of a failure.
//
// ansi_host MAPI_LIBRARY PLUGIN PROFILE FOLDER_PATH MISSING_FOLDER_PATH FILE
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#define FENDREL_API
#include <fendrel/fendrel.h>

namespace {

struct Host {
  decltype(&NRVInitialize) initialize;
  decltype(&NRVTerminate) terminate;
  decltype(&NRVGetVersion) version;
  decltype(&NRVGetExportDestinations) destinations;
  decltype(&NRVInitExportDestination) begin;
  decltype(&NRVTermExportDestination) end;
  decltype(&NRVExportToDestination) post;
  decltype(&NRVGetErrorText) words;
  decltype(&NRVEncodeDestinationOptions) encode;
  decltype(&NRVDecodeDestinationOptions) decode;
  decltype(&NRVFreeDestinationOptions) free;
};

[[noreturn]] void fail(const char* step, unsigned code) {
  std::printf("failed: %s, code %u\n", step, code);
  std::exit(1);
}

void require(bool done, const char* step, unsigned code = 0) {
  if (!done) fail(step, code);
}

template <class Function>
void find(HMODULE plugin, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(plugin, name)));
  require(function != nullptr, name);
}

Host load(const char* file) {
  const HMODULE plugin = LoadLibraryA(file);
  require(plugin != nullptr, "load the plug-in", GetLastError());
  Host host{};
  find(plugin, "NRVInitialize", host.initialize);
  find(plugin, "NRVTerminate", host.terminate);
  find(plugin, "NRVGetVersion", host.version);
  find(plugin, "NRVGetExportDestinations", host.destinations);
  find(plugin, "NRVInitExportDestination", host.begin);
  find(plugin, "NRVTermExportDestination", host.end);
  find(plugin, "NRVExportToDestination", host.post);
  find(plugin, "NRVGetErrorText", host.words);
  find(plugin, "NRVEncodeDestinationOptions", host.encode);
  find(plugin, "NRVDecodeDestinationOptions", host.decode);
  find(plugin, "NRVFreeDestinationOptions", host.free);
  return host;
}

FendrelJob begin(const Host& host, DestinationOptionsA* options, const char* fileName) {
  FendrelFileDescriptionA description{};
  description.size = sizeof description;
  description.nameGiven = 1;
  description.givenName = fileName;
  const FendrelFileDescriptionA* const descriptions[] = {&description};
  FendrelFileListA files{};
  files.size = sizeof files;
  files.fileCount = 1;
  files.files = descriptions;
  FendrelJob job = 0;
  FendrelResultA* result = nullptr;
  const unsigned code = host.begin(nullptr, 1, options, &files, &job, &result);
  require(code == 0, "begin an export", code);
  require(job != 0 && result->size == 112, "get a job");
  return job;
}

unsigned post(const Host& host, FendrelJob job, const char* path) {
  const char* const paths[] = {path};
  FendrelExportDescriptionA description{};
  description.size = sizeof description;
  description.fileCount = 1;
  description.filePaths = paths;
  return host.post(job, &description);
}

DestinationOptionsA choice(char* profile, char* folderPath) {
  static char noPassword[] = "";
  DestinationOptionsA options{};
  options.version = FENDREL_OPTIONS_VERSION;
  options.profileName = profile;
  options.profilePassword = noPassword;
  options.folderPath = folderPath;
  options.destinationType = FENDREL_REPORT_INSTANCE;
  return options;
}

void postOnce(const Host& host, DestinationOptionsA* options, const char* path, const char* how) {
  const FendrelJob job = begin(host, options, path);
  const unsigned code = post(host, job, path);
  if (code != 0) std::printf("words: %s\n", host.words(job));
  require(code == 0, how, code);
  std::printf("posted %s\n", how);
  host.end(job);
}

}  // namespace

int main(int count, char** arguments) {
  require(count == 7, "take six arguments");
  char* const profile = arguments[3];
  char* const folder = arguments[4];
  char* const missing = arguments[5];
  const char* const file = arguments[6];
  require(LoadLibraryA(arguments[1]) != nullptr, "load the local store", GetLastError());
  const Host host = load(arguments[2]);
  std::printf("code page %u\n", GetACP());
  unsigned code = host.initialize();
  require(code == 0, "initialize", code);
  require(host.version() == 0x0100, "know the version");
  std::printf("destination %s\n", host.destinations()->destinations[0]->name);

  // By options of the program's own; the choice is kept as bytes and as a record.
  DestinationOptionsA options = choice(profile, folder);
  const FendrelJob first = begin(host, &options, file);
  code = post(host, first, file);
  if (code != 0) std::printf("words: %s\n", host.words(first));
  require(code == 0, "post by options", code);
  std::printf("posted by options\n");
  DestinationOptionsA* block = nullptr;
  uint16_t size = 0;
  code = host.encode(first, &block, &size);
  require(code == 0, "encode", code);
  std::vector<char> kept(reinterpret_cast<char*>(block), reinterpret_cast<char*>(block) + size);
  DestinationOptionsA* record = nullptr;
  code = host.decode(first, &record);
  require(code == 0, "decode", code);
  host.end(first);

  auto* const again = reinterpret_cast<DestinationOptionsA*>(kept.data());
  again->version = FENDREL_OPTIONS_VERSION;
  // In the packed form a double-byte profile name is overwritten by the next string.
  if (std::strcmp(kept.data() + again->profileNameOffset, profile) == 0) postOnce(host, again, file, "from kept bytes");
  record->version = FENDREL_OPTIONS_VERSION;
  postOnce(host, record, file, "from a kept record");
  host.free(1, record);

  options = choice(profile, missing);
  const FendrelJob refused = begin(host, &options, file);
  code = post(host, refused, file);
  require(code == FENDREL_FAILED, "be refused by a missing folder", code);
  std::printf("words: %s\n", host.words(refused));
  host.end(refused);
  host.terminate();
  std::printf("done\n");
  return 0;
}

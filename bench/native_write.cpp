// native_write FOLDER COUNT SIZE: writes COUNT files of SIZE bytes to FOLDER the durable way (write, fsync, rename,
// fsync of the folder) with plain Linux calls, and prints the seconds.
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  std::perror(what);
  std::exit(1);
}

// Writes and deletes as much as will be written, like the other ways do before timing; last in pieces of the same size.
void touchMemory(const std::string& folder, unsigned long long size) {
  const std::vector<char> bytes(128 * 1024);
  std::vector<std::string> names;
  for (const size_t piece : {size_t{128 * 1024}, size_t{4096}}) {
    names.push_back(folder + "/scratch" + std::to_string(piece));
    const int scratch = open(names.back().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    require(scratch >= 0, "native_write: scratch");
    for (unsigned long long done = 0; done < size + (64 << 20); done += piece) {
      require(write(scratch, bytes.data(), piece) == static_cast<ssize_t>(piece), "native_write: scratch");
    }
    require(close(scratch) == 0, "native_write: scratch");
  }
  for (const std::string& name : names) require(unlink(name.c_str()) == 0, "native_write: scratch");
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 4) {
    std::fprintf(stderr, "usage: native_write FOLDER COUNT SIZE\n");
    return 2;
  }
  const std::string folder = arguments[1];
  const auto count = std::strtoull(arguments[2], nullptr, 10), size = std::strtoull(arguments[3], nullptr, 10);
  std::mt19937_64 random(size);
  std::vector<char> bytes(size);
  for (char& byte : bytes) byte = static_cast<char>(random());

  const int directory = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
  require(directory >= 0, "native_write: folder");
  touchMemory(folder, count * size);
  const auto start = std::chrono::steady_clock::now();
  for (unsigned long long file = 0; file < count; ++file) {
    const std::string name = folder + "/native" + std::to_string(file), temporary = name + ".tmp";
    const int output = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    require(output >= 0, "native_write: open");
    for (size_t done = 0; done < bytes.size();) {
      const size_t part = std::min<size_t>(bytes.size() - done, 4096);
      require(write(output, bytes.data() + done, part) == static_cast<ssize_t>(part), "native_write: write");
      done += part;
    }
    require(fsync(output) == 0 && close(output) == 0, "native_write: fsync");
    require(rename(temporary.c_str(), name.c_str()) == 0 && fsync(directory) == 0, "native_write: rename");
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%.6f\n", seconds.count());
}

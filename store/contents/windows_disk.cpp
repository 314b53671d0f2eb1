#include <windows.h>

#include <aclapi.h>

#include <algorithm>
#include <cstring>
#include <mutex>

#include "disk.h"
#include "engine_error.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

struct CloseHandleOwner {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, CloseHandleOwner>;

struct LocalFreeOwner {
  void operator()(void* block) const noexcept { LocalFree(block); }
};

[[noreturn]] void failWindows(const char* doing, const std::wstring& path, DWORD code) {
  fail(statusOfWindows(code),
       std::string(doing) + " '" + toUtf8(path) + "' failed (Windows error " + std::to_string(code) + ").");
}

// A security descriptor that grants access to the current user only; a folder's contents inherit it.
class OwnerOnly {
 public:
  OwnerOnly() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return;
    const Handle owner(token);
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    user_.resize(size);
    if (!GetTokenInformation(token, TokenUser, user_.data(), size, &size)) return;
    EXPLICIT_ACCESSW access{};
    access.grfAccessPermissions = FILE_ALL_ACCESS;
    access.grfAccessMode = SET_ACCESS;
    access.grfInheritance = SUB_CONTAINERS_AND_OBJECTS_INHERIT;
    access.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    access.Trustee.TrusteeType = TRUSTEE_IS_USER;
    access.Trustee.ptstrName = static_cast<LPWSTR>(reinterpret_cast<TOKEN_USER*>(user_.data())->User.Sid);
    ACL* acl = nullptr;
    if (SetEntriesInAclW(1, &access, nullptr, &acl) != ERROR_SUCCESS) return;
    acl_.reset(acl);
    InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor_, TRUE, acl, FALSE);
    SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED);
    attributes_ = {sizeof attributes_, &descriptor_, FALSE};
  }

  // Null if the system does not name the user: the file then inherits the folder's rights.
  SECURITY_ATTRIBUTES* attributes() noexcept { return acl_ ? &attributes_ : nullptr; }

 private:
  std::vector<std::byte> user_;
  std::unique_ptr<ACL, LocalFreeOwner> acl_;
  SECURITY_DESCRIPTOR descriptor_{};
  SECURITY_ATTRIBUTES attributes_{};
};

class WindowsFile final : public DiskFile {
 public:
  explicit WindowsFile(std::wstring path) : path_(std::move(path)) {}
  void take(HANDLE handle) noexcept { handle_ = Handle(handle); }

  void write(std::uint64_t position, std::span<const std::byte> bytes) override {
    while (!bytes.empty()) {
      seek(position);
      DWORD done = 0;
      const DWORD length = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1u << 30));
      if (!WriteFile(handle_.get(), bytes.data(), length, &done, nullptr)) {
        failWindows("Writing", path_, GetLastError());
      }
      if (done == 0) failWindows("Writing", path_, ERROR_DISK_FULL);
      bytes = bytes.subspan(done);
      position += done;
    }
  }

  std::size_t read(std::uint64_t position, std::span<std::byte> into) override {
    std::size_t total = 0;
    while (total < into.size()) {
      seek(position + total);
      DWORD done = 0;
      const DWORD length = static_cast<DWORD>(std::min<std::size_t>(into.size() - total, 1u << 30));
      if (!ReadFile(handle_.get(), into.data() + total, length, &done, nullptr)) {
        failWindows("Reading", path_, GetLastError());
      }
      if (done == 0) break;
      total += done;
    }
    return total;
  }

  std::uint64_t size() override {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(handle_.get(), &size)) failWindows("Measuring", path_, GetLastError());
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  void resize(std::uint64_t size) override {
    FILE_END_OF_FILE_INFO info{};
    info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (!SetFileInformationByHandle(handle_.get(), FileEndOfFileInfo, &info, sizeof info)) {
      failWindows("Resizing", path_, GetLastError());
    }
  }

  void flush() override {
    if (!FlushFileBuffers(handle_.get())) failWindows("Flushing", path_, GetLastError());
  }

  // By handle, so that no other process can at any moment take the file for an orphan.
  void rename(const std::wstring& path) override {
    std::wstring named = path;  // may fail; nothing after the rename may
    const std::size_t nameBytes = path.size() * sizeof(wchar_t);
    std::vector<std::byte> block(sizeof(FILE_RENAME_INFO) + nameBytes);
    auto* info = reinterpret_cast<FILE_RENAME_INFO*>(block.data());
    info->ReplaceIfExists = FALSE;
    info->RootDirectory = nullptr;
    info->FileNameLength = static_cast<DWORD>(nameBytes);
    std::memcpy(info->FileName, path.data(), nameBytes);
    if (!SetFileInformationByHandle(handle_.get(), FileRenameInfo, info, static_cast<DWORD>(block.size()))) {
      failWindows("Renaming", path_, GetLastError());
    }
    path_ = std::move(named);
  }

 private:
  // A read or write with a position is an overlapped operation, which under Wine involves another process and takes ten
  // times as long.
  void seek(std::uint64_t position) {
    LARGE_INTEGER place;
    place.QuadPart = static_cast<LONGLONG>(position);
    if (!SetFilePointerEx(handle_.get(), place, nullptr, FILE_BEGIN)) failWindows("Seeking", path_, GetLastError());
  }

  Handle handle_;
  std::wstring path_;
};

class WindowsDisk final : public Disk {
 public:
  std::unique_ptr<DiskFile> create(const std::wstring& path) override {
    // FILE_SHARE_READ: a message may be read before its writer has returned from the commit.
    return file("Creating", path, GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ, CREATE_NEW);
  }

  std::unique_ptr<DiskFile> openAlone(const std::wstring& path) override {
    return file("Opening", path, GENERIC_READ | GENERIC_WRITE | DELETE, 0, OPEN_ALWAYS, ownerOnly().attributes());
  }

  std::unique_ptr<DiskFile> open(const std::wstring& path) override {
    // FILE_SHARE_WRITE: the writer may still hold its handle right after the commit.
    return file("Opening", path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING);
  }

  bool remove(const std::wstring& path) override {
    if (DeleteFileW(path.c_str())) return true;
    const DWORD code = GetLastError();
    if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND) return true;
    if (code == ERROR_SHARING_VIOLATION) return false;
    failWindows("Deleting", path, code);
  }

  bool exists(const std::wstring& path) override { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

  bool isAbandoned(const std::wstring& path) override {
    const HANDLE handle = CreateFileW(path.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return false;
    CloseHandle(handle);
    return true;
  }

  void createPrivateFile(const std::wstring& path) override {
    const HANDLE handle =
        CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    ownerOnly().attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
      CloseHandle(handle);
      return;
    }
    const DWORD code = GetLastError();
    if (code != ERROR_FILE_EXISTS && code != ERROR_ALREADY_EXISTS) failWindows("Creating", path, code);
  }

  void createFolder(const std::wstring& path, bool isPrivate) override {
    if (CreateDirectoryW(path.c_str(), isPrivate ? ownerOnly().attributes() : nullptr)) return;
    const DWORD code = GetLastError();
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) return;
    failWindows("Creating the folder", path, code);
  }

  void removeFolder(const std::wstring& path) override { RemoveDirectoryW(path.c_str()); }

  std::vector<Entry> list(const std::wstring& folder) override {
    std::vector<Entry> entries;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return entries;
    struct Close {
      HANDLE search;
      ~Close() { FindClose(search); }
    } const close{search};
    do {
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
      const FILETIME& time = found.ftLastWriteTime;
      entries.push_back(
          {found.cFileName, {static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime}});
    } while (FindNextFileW(search, &found));
    return entries;
  }

  void flushFolder(const std::wstring& folder) override {
    // A system that cannot flush folders keeps their entries safe itself; not a failure.
    const HANDLE handle =
        CreateFileW(folder.c_str(), FILE_ADD_FILE | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return;
    FlushFileBuffers(handle);
    CloseHandle(handle);
  }

  bool isRemote(const std::wstring& path) override {
    const bool isPlain = !path.starts_with(L"\\\\?\\") && !path.starts_with(L"\\\\.\\");
    if (path.starts_with(L"\\\\?\\UNC\\") || (isPlain && path.starts_with(L"\\\\"))) return true;
    const std::wstring drive = path.substr(isPlain ? 0 : 4, 2) + L"\\";
    return GetDriveTypeW(drive.c_str()) == DRIVE_REMOTE;
  }

  const char* sqliteLayer() override { return "win32-longpath"; }

 private:
  static OwnerOnly& ownerOnly() {
    static OwnerOnly descriptor;
    return descriptor;
  }

  static std::unique_ptr<DiskFile> file(const char* doing, const std::wstring& path, DWORD access, DWORD share,
                                        DWORD disposition, SECURITY_ATTRIBUTES* rights = nullptr) {
    auto opened = std::make_unique<WindowsFile>(path);  // first: a created file must have an owner
    const HANDLE handle = CreateFileW(path.c_str(), access, share, rights, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) failWindows(doing, path, GetLastError());
    opened->take(handle);
    return opened;
  }
};

}  // namespace

Disk& windowsDisk() {
  static WindowsDisk disk;
  return disk;
}

bool tryRemove(Disk& disk, const std::wstring& path) noexcept {
  try {
    return disk.remove(path);
  } catch (...) {
    return false;
  }
}

}  // namespace fendrel::store

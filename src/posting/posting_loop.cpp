#include "posting_loop.h"

#include <algorithm>
#include <cwchar>
#include <new>

#include "fendrel/fendrel.h"
#include "path_parts.h"
#include "posting_kind.h"
#include "target_folder.h"

namespace fendrel {
namespace {

constexpr std::size_t classCapacity = 255;  // characters

// The message class of the files. In document mode each file's extension is appended, so the second file's class also
// contains the first one's extension; readers of the folders expect that.
class MessageClass {
 public:
  explicit MessageClass(const wchar_t* initial) noexcept { append(initial); }

  void append(const wchar_t* text) noexcept {
    const std::size_t length = std::wcslen(text_);
    const std::size_t count = wcsnlen(text, classCapacity - length);
    std::wmemcpy(text_ + length, text, count);
    text_[length + count] = 0;
  }
  wchar_t* text() noexcept { return text_; }

 private:
  wchar_t text_[classCapacity + 1] = {};
};

HRESULT openTargetFolder(const PostingJob& job, TargetFolder& target) {
  if (postingRules(job.destination.type).intoCommonViews) return openCommonViews(job.session, target);
  return openFolderByPath(job.session, job.destination.folderPath.value_or(std::wstring()), job.optionsSupplied,
                          target);
}

// Posts the files in order and keeps the last one's result.
class PostingLoop {
 public:
  PostingLoop(const PostingJob& job, IMAPIFolder* folder)
      : job_(job),
        folder_(folder),
        templateMode_(isTemplateMode(job)),
        class_(templateMode_ ? job.templateClass : job.documentClass) {}

  HRESULT run(std::span<const wchar_t* const> filePaths) {
    for (std::size_t file = 0; file < filePaths.size() && !aborted_; ++file) postFile(file, filePaths[file]);
    return result_;
  }

 private:
  void postFile(std::size_t file, const wchar_t* path) {
    if (file >= job_.fileNames.size()) {
      result_ = MAPI_E_INVALID_PARAMETER;
      return;
    }
    try {
      postNamed(job_.fileNames[file], path);
    } catch (const std::bad_alloc&) {
      result_ = MAPI_E_NOT_ENOUGH_MEMORY;
    }
  }

  void postNamed(const std::wstring& name, const wchar_t* path) {
    const wchar_t* const extension = extensionOf(std::wstring_view(name)).data();
    ReportTexts texts;
    if (templateMode_) {
      switch (job_.naming.nameReport(name, path, folder_, texts)) {
        case Naming::skip: return;
        case Naming::abort:
          result_ = MAPI_E_USER_CANCEL;
          aborted_ = true;
          return;
        default: break;
      }
    } else {
      class_.append(extension ? extension : L"");
    }
    result_ = postReport(folder_, templateMode_,
                         {path, name.c_str(), extension ? extension : L"", class_.text(), job_.sender, texts});
  }

  const PostingJob& job_;
  IMAPIFolder* folder_;
  bool templateMode_;
  MessageClass class_;
  HRESULT result_ = S_OK;
  bool aborted_ = false;
};

}  // namespace

bool isTemplateMode(const PostingJob& job) noexcept {
  return postingRules(job.destination.type).templateMode && !job.optionsSupplied;
}

std::uint32_t postReportFiles(const PostingJob& job, std::span<const wchar_t* const> filePaths) {
  TargetFolder target;
  HRESULT result = openTargetFolder(job, target);
  if (SUCCEEDED(result)) result = PostingLoop(job, target.folder.Get()).run(filePaths);
  return FAILED(result) ? mapResult(result, job.errorText) : FENDREL_SUCCESS;
}

}  // namespace fendrel

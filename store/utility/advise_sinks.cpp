// Advise sinks for programs with a callback, or that must be called on one thread. Our own objects never notify; other
// providers' objects do.
#include "com_object.h"

namespace {

using namespace fendrel::utility;

class CallbackSink final : public ComObject<IMAPIAdviseSink> {
 public:
  CallbackSink(LPNOTIFCALLBACK callback, void* context) : callback_(callback), context_(context) {}

  STDMETHODIMP_(ULONG) OnNotify(ULONG count, LPNOTIFICATION notifications) override {
    return static_cast<ULONG>(callback_(context_, count, notifications));
  }

 private:
  LPNOTIFCALLBACK callback_;
  void* context_;
};

struct Notice {
  IMAPIAdviseSink* sink;
  ULONG count;
  LPNOTIFICATION notifications;
};

constexpr UINT noticeMessage = WM_APP + 1;

LRESULT CALLBACK sinkWindow(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != noticeMessage) return DefWindowProcW(window, message, wParam, lParam);
  const auto& notice = *reinterpret_cast<const Notice*>(lParam);
  return static_cast<LRESULT>(notice.sink->OnNotify(notice.count, notice.notifications));
}

// Calls another sink on the thread that made this one. Other threads send the notification to a window of that thread,
// which processes it when it reads messages or calls HrDispatchNotifications; the caller waits until then.
class ThreadSink final : public ComObject<IMAPIAdviseSink> {
 public:
  explicit ThreadSink(IMAPIAdviseSink* sink) : sink_(sink) {}

  HRESULT createWindow() {
    window_ = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!window_) return MAPI_E_CALL_FAILED;
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&sinkWindow));
    return S_OK;
  }

  STDMETHODIMP_(ULONG) OnNotify(ULONG count, LPNOTIFICATION notifications) override {
    Notice notice{sink_.Get(), count, notifications};
    return static_cast<ULONG>(SendMessageW(window_, noticeMessage, 0, reinterpret_cast<LPARAM>(&notice)));
  }

 private:
  // Only its own thread can destroy a window.
  ~ThreadSink() override {
    if (window_) PostMessageW(window_, WM_CLOSE, 0, 0);
  }

  ComPtr<IMAPIAdviseSink> sink_;
  HWND window_ = nullptr;
};

}  // namespace

extern "C" {

HRESULT WINAPI HrAllocAdviseSink(LPNOTIFCALLBACK callback, LPVOID context, LPMAPIADVISESINK* sink) {
  if (!callback || !sink) return MAPI_E_INVALID_PARAMETER;
  *sink = nullptr;
  return guarded([&] {
    auto made = makeObject<CallbackSink>(callback, context);
    return handOut(made, sink);
  });
}

HRESULT WINAPI HrThisThreadAdviseSink(LPMAPIADVISESINK sink, LPMAPIADVISESINK* onThisThread) {
  if (!sink || !onThisThread) return MAPI_E_INVALID_PARAMETER;
  *onThisThread = nullptr;
  return guarded([&]() -> HRESULT {
    auto made = makeObject<ThreadSink>(sink);
    if (const HRESULT result = made->createWindow(); FAILED(result)) return result;
    return handOut(made, onThisThread);
  });
}

// PeekMessage delivers messages sent to this thread's windows.
HRESULT WINAPI HrDispatchNotifications(ULONG) {
  MSG message;
  PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  return S_OK;
}

}  // extern "C"

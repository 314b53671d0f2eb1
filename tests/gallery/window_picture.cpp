#include "window_picture.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace fendrel::test {

bool saveWindowPicture(HWND window, const std::wstring& file) {
  RECT place;
  GetWindowRect(window, &place);
  const int width = place.right - place.left, height = place.bottom - place.top;
  BITMAPINFOHEADER header = {};
  header.biSize = sizeof header;
  header.biWidth = width;
  header.biHeight = height;
  header.biPlanes = 1;
  header.biBitCount = 24;
  const std::size_t rowSize = (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4;
  std::vector<char> pixels(rowSize * static_cast<std::size_t>(height));

  const HDC screen = GetDC(nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  const HGDIOBJ before = SelectObject(memory, bitmap);
  bool done = BitBlt(memory, 0, 0, width, height, screen, place.left, place.top, SRCCOPY);
  SelectObject(memory, before);
  done = GetDIBits(screen, bitmap, 0, static_cast<UINT>(height), pixels.data(), reinterpret_cast<BITMAPINFO*>(&header),
                   DIB_RGB_COLORS) == height &&
         done;
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  if (!done) return false;

  BITMAPFILEHEADER fileHeader = {};
  fileHeader.bfType = 0x4D42;
  fileHeader.bfOffBits = sizeof fileHeader + sizeof header;
  fileHeader.bfSize = static_cast<DWORD>(fileHeader.bfOffBits + pixels.size());
  std::ofstream stream(std::filesystem::path(file), std::ios::binary);
  stream.write(reinterpret_cast<const char*>(&fileHeader), sizeof fileHeader);
  stream.write(reinterpret_cast<const char*>(&header), sizeof header);
  stream.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
  stream.close();
  return !stream.fail();
}

}  // namespace fendrel::test

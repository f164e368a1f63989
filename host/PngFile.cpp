#include "host/PngFile.h"

#include <png.h>
#include <cerrno>
#include <cstring>
#include <new>
#include <vector>

#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/Text.h"

namespace vx {

namespace {

// The top byte of a pixel is not opacity, so it stays out of the file.
std::vector<u8> ToRgb(const u32* pixels, u32 width, u32 height) {
  std::vector<u8> rgb(u64{width} * height * 3);
  u8* out = rgb.data();
  for (u64 i = 0; i < u64{width} * height; ++i) {
    *out++ = static_cast<u8>(pixels[i] >> 16);
    *out++ = static_cast<u8>(pixels[i] >> 8);
    *out++ = static_cast<u8>(pixels[i]);
  }
  return rgb;
}

png_image MakeImage(u32 width, u32 height) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  image.format = PNG_FORMAT_RGB;
  image.flags = PNG_IMAGE_FLAG_FAST;
  return image;
}

}  // namespace

void WritePng(const std::string& path, const u32* pixels, u32 width, u32 height) {
  const std::vector<u8> rgb = ToRgb(pixels, width, height);
  png_image image = MakeImage(width, height);
  errno = 0;
  if (png_image_write_to_file(&image, path.c_str(), 0, rgb.data(), 0, nullptr) == 0) {
    const std::string reason = errno != 0 ? std::strerror(errno) : image.message;
    png_image_free(&image);
    throw CHostError(EExitCode::OutputFailed, path + ": cannot be written: " + reason);
  }
}

std::vector<u8> EncodePng(const u32* pixels, u32 width, u32 height) {
  const std::vector<u8> rgb = ToRgb(pixels, width, height);
  png_image image = MakeImage(width, height);
  png_alloc_size_t bytes = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::vector<u8> file(bytes);
  if (png_image_write_to_memory(&image, file.data(), &bytes, 0, rgb.data(), 0, nullptr) == 0) {
    png_image_free(&image);
    throw std::bad_alloc();  // the room is enough for any picture
  }
  file.resize(bytes);
  return file;
}

std::string FreePicturePath(const std::string& folder, const std::string& stem, u64 frame) {
  std::string start = folder;
  if (!start.empty() && start.back() != '/') start.push_back('/');
  start += stem + Format("_%06llu", static_cast<unsigned long long>(frame));
  std::string path = start + ".png";
  for (u32 number = 2; PathExists(path); ++number) path = start + Format("_%u.png", number);
  return path;
}

}  // namespace vx

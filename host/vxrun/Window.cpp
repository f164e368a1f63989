#include "host/vxrun/Window.h"

#include <algorithm>
#include <cstdlib>

#include "host/HostError.h"
#include "host/PictureFit.h"

namespace vx {

namespace {

constexpr i32 kDefaultScale = 3;
constexpr i32 kScreenPercent = 90;  // of the screen at most, unless a scale is asked for

[[noreturn]] void FailNoDisplay() {
  throw CHostError(EExitCode::NoDisplay, std::string("there is no display for a window (") +
                                             SDL_GetError() + "); --headless runs without one");
}

// The systems that can show a window. Left to itself SDL ends up drawing where nobody can see it,
// and Wayland complains on stderr when there is no folder that it could be reached through. The
// environment's SDL_VIDEODRIVER still has the last word.
void ChooseVideoSystems() {
  const char* chosen = std::getenv("SDL_VIDEODRIVER");
  if (chosen != nullptr && chosen[0] != '\0') return;
  const bool bWaylandPossible = std::getenv("XDG_RUNTIME_DIR") != nullptr;
  SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER,
                          bWaylandPossible ? "x11,wayland,KMSDRM" : "x11,KMSDRM",
                          SDL_HINT_OVERRIDE);
}

i32 ChooseScale(i32 width, i32 height, u32 wanted) {
  if (wanted != 0) return static_cast<i32>(wanted);
  SDL_Rect screen{};
  if (SDL_GetDisplayUsableBounds(0, &screen) != 0) return kDefaultScale;
  const i32 fits =
      std::min(screen.w * kScreenPercent / 100 / width, screen.h * kScreenPercent / 100 / height);
  return std::clamp(fits, 1, kDefaultScale);
}

}  // namespace

CSdlVideo::CSdlVideo() {
  SDL_SetMainReady();
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "nearest");
  ChooseVideoSystems();
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) FailNoDisplay();
}

CSdlVideo::~CSdlVideo() { SDL_Quit(); }

CWindow::CWindow(const std::string& title, u32 width, u32 height, u32 scale)
    : width_(static_cast<i32>(width)), height_(static_cast<i32>(height)), title_(title) {
  const i32 factor = ChooseScale(width_, height_, scale);
  window_ = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED,
                             width_ * factor, height_ * factor,
                             SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
  if (window_ != nullptr) renderer_ = SDL_CreateRenderer(window_, -1, 0);
  if (renderer_ != nullptr) {
    texture_ = SDL_CreateTexture(renderer_, SDL_PIXELFORMAT_RGB888, SDL_TEXTUREACCESS_STREAMING,
                                 width_, height_);
  }
  if (texture_ == nullptr) FailNoDisplay();
}

CWindow::~CWindow() {
  if (texture_ != nullptr) SDL_DestroyTexture(texture_);
  if (renderer_ != nullptr) SDL_DestroyRenderer(renderer_);
  if (window_ != nullptr) SDL_DestroyWindow(window_);
}

bool CWindow::HandleEvents(CControls& controls, CAudio& audio) {
  bool bStays = true;
  SDL_Event event;
  while (SDL_PollEvent(&event) != 0) {
    if (event.type == SDL_QUIT) bStays = false;
    controls.HandleEvent(event);
    audio.HandleEvent(event);
  }
  return bStays;
}

void CWindow::TakePicture(const u32* pixels, u32 width, u32 height) {
  if (static_cast<i32>(width) != width_ || static_cast<i32>(height) != height_) return;
  SDL_UpdateTexture(texture_, nullptr, pixels, width_ * static_cast<i32>(sizeof(u32)));
}

void CWindow::SetTitle(const std::string& title) {
  if (title == title_) return;
  title_ = title;
  SDL_SetWindowTitle(window_, title.c_str());
}

void CWindow::WaitForEvent(i32 milliseconds) { SDL_WaitEventTimeout(nullptr, milliseconds); }

void CWindow::Present() {
  i32 outputWidth = 0;
  i32 outputHeight = 0;
  SDL_GetRendererOutputSize(renderer_, &outputWidth, &outputHeight);
  const SPictureRect fit = FitPicture(outputWidth, outputHeight, width_, height_);
  const SDL_Rect target{fit.x, fit.y, fit.width, fit.height};
  SDL_SetRenderDrawColor(renderer_, 0, 0, 0, 255);
  SDL_RenderClear(renderer_);
  SDL_RenderCopy(renderer_, texture_, nullptr, &target);
  SDL_RenderPresent(renderer_);
}

}  // namespace vx

// The window that shows the machine's picture, at a whole multiple of its size.
#pragma once

#include <SDL.h>

#include <string>

#include "host/vxrun/Audio.h"
#include "host/vxrun/Controls.h"
#include "plugin/Quillon.h"

namespace vx {

// Starts SDL's video for its own lifetime. Main thread.
class CSdlVideo {
 public:
  // Throws CHostError (NoDisplay).
  CSdlVideo();
  ~CSdlVideo();
  CSdlVideo(const CSdlVideo&) = delete;
  CSdlVideo& operator=(const CSdlVideo&) = delete;
};

class CWindow {
 public:
  // `scale` of 0 takes the largest up to 3 that leaves room on the screen. Throws CHostError
  // (NoDisplay).
  CWindow(const std::string& title, u32 width, u32 height, u32 scale);
  ~CWindow();
  CWindow(const CWindow&) = delete;
  CWindow& operator=(const CWindow&) = delete;

  // Takes what happened since the last call; false once the window was closed.
  bool HandleEvents(CControls& controls, CAudio& audio);

  void TakePicture(const u32* pixels, u32 width, u32 height);
  void SetTitle(const std::string& title);
  // Waits until something happens, `milliseconds` at most.
  void WaitForEvent(i32 milliseconds);
  // Draws the latest picture; does not wait for the screen.
  void Present();

 private:
  SDL_Window* window_ = nullptr;
  SDL_Renderer* renderer_ = nullptr;
  SDL_Texture* texture_ = nullptr;
  i32 width_;
  i32 height_;
  std::string title_;
};

}  // namespace vx

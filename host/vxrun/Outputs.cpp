#include "host/vxrun/Outputs.h"

#include "host/Folders.h"
#include "host/HostError.h"
#include "host/PngFile.h"
#include "host/Text.h"

namespace vx {

COutputs::COutputs(const SOptions& options)
    : pngFolder_(options.pngFolder),
      pngEvery_(options.pngEvery),
      hashLogPath_(options.hashLogPath) {
  if (!pngFolder_.empty()) {
    if (!EnsureFolder(pngFolder_)) {
      throw CHostError(EExitCode::OutputFailed, pngFolder_ + ": cannot be made a folder");
    }
    if (pngFolder_.back() != '/') pngFolder_.push_back('/');
  }
  if (!hashLogPath_.empty()) {
    hashLog_.emplace(hashLogPath_, std::vector<std::string>{"state", "picture"});
  }
  if (!options.wavPath.empty()) wav_.emplace(options.wavPath);
}

bool COutputs::WantsPicture(u64 frame) const {
  return hashLog_ || (!pngFolder_.empty() && frame % pngEvery_ == 0);
}

void COutputs::TakePicture(u64 frame, const u32* pixels, const u32* shown, u32 width, u32 height) {
  if (hashLog_) pictureHash_ = HashPicture(pixels, width, height);
  if (pngFolder_.empty() || frame % pngEvery_ != 0) return;
  const auto number = static_cast<unsigned long long>(frame);
  WritePng(pngFolder_ + Format("frame_%06llu.png", number), shown, width, height);
  ++pngCount_;
}

void COutputs::TakeSound(const i16* samples, u32 count, u32 rateHz) {
  if (wav_) wav_->Write(samples, count, rateHz);
}

void COutputs::EndFrame(u64 frame, CSession& session) {
  if (hashLog_) hashLog_->Write(frame, {session.HashState(), pictureHash_});
  pictureHash_.reset();
}

std::string COutputs::Finish(u64 frames, u32 rateHz) {
  std::string text = Format("%llu frames run", static_cast<unsigned long long>(frames));
  if (!pngFolder_.empty()) {
    text += Format("; %llu pictures in %s", static_cast<unsigned long long>(pngCount_),
                   pngFolder_.c_str());
  }
  if (hashLog_) {
    hashLog_->Close();
    text += "; hash log in " + hashLogPath_;
  }
  if (wav_) {
    const auto pairs = static_cast<unsigned long long>(wav_->PairCount());
    wav_->Close(rateHz);
    text += Format("; %llu sound samples in %s", pairs, wav_->Path().c_str());
  }
  return text;
}

}  // namespace vx

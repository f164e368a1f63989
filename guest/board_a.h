// Register addresses of board layout A, in the uncached segment. Plain numbers: assembly reads this
// header too.
#pragma once

#define kBoardLayout 'A'
#define kBoardControlAddress 0xB0000080
#define kSoundResetAddress 0xB0000088
#define kSoundStrobeAddress 0xB0000090
#define kSoundLatchAddress 0xB0000098
#define kInputPort0Address 0xB0000080
#define kInputPort1Address 0xB0000088
#define kBoardStatusAddress 0xB0000090
#define kDipPortAddress 0xB00000A0

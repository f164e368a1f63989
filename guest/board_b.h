// Register addresses of board layout B, in the uncached segment. Plain numbers: assembly reads this
// header too.
#pragma once

#define kBoardLayout 'B'
#define kBoardControlAddress 0xB0000098
#define kSoundResetAddress 0xB0000090
#define kSoundStrobeAddress 0xB0000080
#define kSoundLatchAddress 0xB00000A0
#define kInputPort0Address 0xB0000098
#define kInputPort1Address 0xB0000090
#define kBoardStatusAddress 0xB0000080
#define kDipPortAddress 0xB0000088

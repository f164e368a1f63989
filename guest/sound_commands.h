// What the sound program understands: commands of two bytes, high byte first, and settings of four,
// 0x55, the setting, and its value. The main processor hands over one byte a strobe and waits until
// it has been taken.
#pragma once

enum {
  // Effects, each on a channel of its own or shared with others; a new one ends the old one there.
  kSoundCoin = 0x10,
  kSoundStart,
  kSoundPickCoin,
  kSoundFire,
  kSoundHit,
  kSoundBlast,
  kSoundLeap,
  kSoundSplash,
  kSoundPower,
  kSoundFlare,
  kSoundLost,
  kSoundGate,
  kSoundWarning,
  kSoundBossBlast,
  kSoundTick,
  kSoundLetter,
  kSoundEngine = 0x20,  // goes on until it is stopped

  kMusicTitle = 0x40,
  kMusicStage,  // four of them
  kMusicBoss = 0x48,
  kMusicTally,
  kMusicGameOver,
  kMusicScores,

  kFirstStop = 0x200,
  kSoundEngineOff = 0x207,  // 0x200 + channel
  kSoundSilence = 0x2FF,
  kMusicStop = 0x300,
  kMusicPause,
  kMusicResume,
};

enum {
  kSettingMaster = 0x01,  // volume of all, 0 to 0xFFFF
  kSettingTempo,          // of the present tune, 0x100 as it is written
  kSettingSilence,        // value 0
  kSettingLimit,          // greatest volume of an effect, 0 to 127
  kSettingWaves = 0x0E,   // makes the first wavetable again
  kSettingTest,           // a page of the self test
  kSettingPort,           // 0x10 to 0x14: serial port
  kSettingBoot = 0x15,    // boots from the ROM's page
};

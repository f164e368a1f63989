// The register window by its handler tables, at every width, for a machine of either layout.
#pragma once

#include <iterator>

#include "tests/machine/BoardTest.h"

namespace vx::test {

inline constexpr u32 kWidths[] = {8, 4, 2, 1};

// Where a layout has its registers.
struct SRegisterPlaces {
  const char* name;
  bool bLayoutB;
  u32 inputPort0, inputPort1, boardStatus, dipPort;       // read
  u32 boardControl, soundReset, soundStrobe, soundLatch;  // written
};

// clang-format off
inline constexpr SRegisterPlaces kPlacesA = {
    "A", false,
    0x10000080, 0x10000088, 0x10000090, 0x100000A0,
    0x10000080, 0x10000088, 0x10000090, 0x10000098};
inline constexpr SRegisterPlaces kPlacesB = {
    "B", true,
    0x10000098, 0x10000090, 0x10000080, 0x10000088,
    0x10000098, 0x10000090, 0x10000080, 0x100000A0};
// clang-format on

inline void PrintTo(const SRegisterPlaces& places, std::ostream* out) {
  *out << "layout " << places.name;
}

constexpr u64 WidthMask(u32 bytes) { return bytes == 8 ? ~u64{0} : (u64{1} << 8 * bytes) - 1; }

class CIoTest : public CBoardTest {
 protected:
  u64 Read(u32 address, u32 bytes) {
    const SIoReadRow& row = m->ioRead[(address - kIoBase) >> 4];
    const IoReader reader = bytes == 8   ? row.read64
                            : bytes == 4 ? row.read32
                            : bytes == 2 ? row.read16
                                         : row.read8;
    return reader(m.get(), address) & WidthMask(bytes);
  }
  void Write(u32 address, u64 value, u32 bytes) {
    const SIoWriteRow& row = m->ioWrite[(address - kIoBase) >> 4];
    const IoWriter writer = bytes == 8   ? row.write64
                            : bytes == 4 ? row.write32
                            : bytes == 2 ? row.write16
                                         : row.write8;
    writer(m.get(), address, value);
  }
  void UseLayout(bool bLayoutB) {
    m->bIoLayoutB = bLayoutB;
    BuildIoTables(*m);
  }
};

// The same test for both layouts.
class CLayoutTest : public CIoTest, public testing::WithParamInterface<SRegisterPlaces> {
 protected:
  CLayoutTest() { UseLayout(at.bLayoutB); }

  const SRegisterPlaces& at = GetParam();
};

inline std::string LayoutName(const testing::TestParamInfo<SRegisterPlaces>& info) {
  return info.param.name;
}

}  // namespace vx::test

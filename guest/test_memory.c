// Loads and stores of the main processor at all widths and offsets. An access that is not aligned
// goes to the aligned place below; lwr leaves the upper half of its register zero where lwl extends
// the sign. Addresses without memory behind them read the last value that was written into nothing.
#include "guest/kernel.h"

typedef uint64_t SLoadOp(uint64_t before, const volatile void* address);
typedef void SStoreOp(uint64_t value, volatile void* address);

typedef struct SLoadRow {
  SLoadOp* op;
  uint32_t offset;
  uint64_t wanted;
} SLoadRow;

typedef struct SStoreRow {
  SStoreOp* op;
  uint32_t offset;
  uint64_t wanted0;
  uint64_t wanted8;
} SStoreRow;

// clang-format off
extern SLoadOp Op_lb, Op_lbu, Op_lh, Op_lhu, Op_lw, Op_lwu, Op_ld, Op_lw_m4, Op_ld_8, Op_lwl,
    Op_lwr, Op_ldl, Op_ldr;
extern SStoreOp Op_sb, Op_sh, Op_sw, Op_sd, Op_sw_m4, Op_swl, Op_swr, Op_sdl, Op_sdr;

// Memory before each row, and the register that is loaded over or stored.
#define kBytes0   0xF8E7D6C5B4A39281ull
#define kBytes8   0x706F5E4D3C2B1A09ull
#define kRegister 0x1122334455667788ull
#define kStored   0xA1B2C3D4E5F60718ull

static const SLoadRow kLoads[] = {
    // op     offset  wanted
    {Op_lb,       0,    0xFFFFFFFFFFFFFF81},
    {Op_lb,       7,    0xFFFFFFFFFFFFFFF8},
    {Op_lb,       8,    0x9},
    {Op_lbu,      0,    0x81},
    {Op_lbu,      7,    0xF8},
    {Op_lbu,      8,    0x9},
    {Op_lh,       2,    0xFFFFFFFFFFFFB4A3},
    {Op_lh,       3,    0xFFFFFFFFFFFFB4A3},
    {Op_lh,       8,    0x1A09},
    {Op_lhu,      6,    0xF8E7},
    {Op_lhu,      7,    0xF8E7},
    {Op_lhu,     10,    0x3C2B},
    {Op_lw,       0,    0xFFFFFFFFB4A39281},
    {Op_lw,       3,    0xFFFFFFFFB4A39281},
    {Op_lw,       4,    0xFFFFFFFFF8E7D6C5},
    {Op_lw,       8,    0x3C2B1A09},
    {Op_lwu,      4,    0xF8E7D6C5},
    {Op_lwu,      7,    0xF8E7D6C5},
    {Op_lwu,     12,    0x706F5E4D},
    {Op_ld,       0,    0xF8E7D6C5B4A39281},
    {Op_ld,       5,    0xF8E7D6C5B4A39281},
    {Op_ld,       8,    0x706F5E4D3C2B1A09},
    {Op_lw_m4,    8,    0xFFFFFFFFF8E7D6C5},
    {Op_ld_8,     0,    0x706F5E4D3C2B1A09},
    {Op_lwl,      0,    0xFFFFFFFF81667788},
    {Op_lwl,      1,    0xFFFFFFFF92817788},
    {Op_lwl,      2,    0xFFFFFFFFA3928188},
    {Op_lwl,      3,    0xFFFFFFFFB4A39281},
    {Op_lwl,      4,    0xFFFFFFFFC5667788},
    {Op_lwl,      5,    0xFFFFFFFFD6C57788},
    {Op_lwl,      6,    0xFFFFFFFFE7D6C588},
    {Op_lwl,      7,    0xFFFFFFFFF8E7D6C5},
    {Op_lwr,      0,    0xB4A39281},
    {Op_lwr,      1,    0x55B4A392},
    {Op_lwr,      2,    0x5566B4A3},
    {Op_lwr,      3,    0x556677B4},
    {Op_lwr,      4,    0xF8E7D6C5},
    {Op_lwr,      5,    0x55F8E7D6},
    {Op_lwr,      6,    0x5566F8E7},
    {Op_lwr,      7,    0x556677F8},
    {Op_ldl,      0,    0x8122334455667788},
    {Op_ldl,      1,    0x9281334455667788},
    {Op_ldl,      3,    0xB4A3928155667788},
    {Op_ldl,      4,    0xC5B4A39281667788},
    {Op_ldl,      6,    0xE7D6C5B4A3928188},
    {Op_ldl,      7,    0xF8E7D6C5B4A39281},
    {Op_ldl,      8,    0x922334455667788},
    {Op_ldl,     15,    0x706F5E4D3C2B1A09},
    {Op_ldr,      0,    0xF8E7D6C5B4A39281},
    {Op_ldr,      1,    0x11F8E7D6C5B4A392},
    {Op_ldr,      3,    0x112233F8E7D6C5B4},
    {Op_ldr,      4,    0x11223344F8E7D6C5},
    {Op_ldr,      6,    0x112233445566F8E7},
    {Op_ldr,      7,    0x11223344556677F8},
    {Op_ldr,      8,    0x706F5E4D3C2B1A09},
    {Op_ldr,     15,    0x1122334455667770},
};

static const SStoreRow kStores[] = {
    // op     offset  bytes 0 to 7        bytes 8 to 15
    {Op_sb,       0,    0xF8E7D6C5B4A39218, 0x706F5E4D3C2B1A09},
    {Op_sb,       7,    0x18E7D6C5B4A39281, 0x706F5E4D3C2B1A09},
    {Op_sb,       9,    0xF8E7D6C5B4A39281, 0x706F5E4D3C2B1809},
    {Op_sh,       2,    0xF8E7D6C507189281, 0x706F5E4D3C2B1A09},
    {Op_sh,       3,    0xF8E7D6C507189281, 0x706F5E4D3C2B1A09},
    {Op_sh,      14,    0xF8E7D6C5B4A39281, 0x07185E4D3C2B1A09},
    {Op_sw,       0,    0xF8E7D6C5E5F60718, 0x706F5E4D3C2B1A09},
    {Op_sw,       6,    0xE5F60718B4A39281, 0x706F5E4D3C2B1A09},
    {Op_sw,      12,    0xF8E7D6C5B4A39281, 0xE5F607183C2B1A09},
    {Op_sd,       0,    0xA1B2C3D4E5F60718, 0x706F5E4D3C2B1A09},
    {Op_sd,       3,    0xA1B2C3D4E5F60718, 0x706F5E4D3C2B1A09},
    {Op_sd,       8,    0xF8E7D6C5B4A39281, 0xA1B2C3D4E5F60718},
    {Op_sw_m4,    8,    0xE5F60718B4A39281, 0x706F5E4D3C2B1A09},
    {Op_swl,      0,    0xF8E7D6C5B4A392E5, 0x706F5E4D3C2B1A09},
    {Op_swl,      1,    0xF8E7D6C5B4A3E5F6, 0x706F5E4D3C2B1A09},
    {Op_swl,      2,    0xF8E7D6C5B4E5F607, 0x706F5E4D3C2B1A09},
    {Op_swl,      3,    0xF8E7D6C5E5F60718, 0x706F5E4D3C2B1A09},
    {Op_swl,      5,    0xF8E7E5F6B4A39281, 0x706F5E4D3C2B1A09},
    {Op_swr,      0,    0xF8E7D6C5E5F60718, 0x706F5E4D3C2B1A09},
    {Op_swr,      1,    0xF8E7D6C5F6071881, 0x706F5E4D3C2B1A09},
    {Op_swr,      2,    0xF8E7D6C507189281, 0x706F5E4D3C2B1A09},
    {Op_swr,      3,    0xF8E7D6C518A39281, 0x706F5E4D3C2B1A09},
    {Op_swr,      6,    0x0718D6C5B4A39281, 0x706F5E4D3C2B1A09},
    {Op_sdl,      0,    0xF8E7D6C5B4A392A1, 0x706F5E4D3C2B1A09},
    {Op_sdl,      1,    0xF8E7D6C5B4A3A1B2, 0x706F5E4D3C2B1A09},
    {Op_sdl,      3,    0xF8E7D6C5A1B2C3D4, 0x706F5E4D3C2B1A09},
    {Op_sdl,      5,    0xF8E7A1B2C3D4E5F6, 0x706F5E4D3C2B1A09},
    {Op_sdl,      7,    0xA1B2C3D4E5F60718, 0x706F5E4D3C2B1A09},
    {Op_sdl,     10,    0xF8E7D6C5B4A39281, 0x706F5E4D3CA1B2C3},
    {Op_sdr,      0,    0xA1B2C3D4E5F60718, 0x706F5E4D3C2B1A09},
    {Op_sdr,      1,    0xB2C3D4E5F6071881, 0x706F5E4D3C2B1A09},
    {Op_sdr,      3,    0xD4E5F60718A39281, 0x706F5E4D3C2B1A09},
    {Op_sdr,      5,    0xF60718C5B4A39281, 0x706F5E4D3C2B1A09},
    {Op_sdr,      7,    0x18E7D6C5B4A39281, 0x706F5E4D3C2B1A09},
    {Op_sdr,     12,    0xF8E7D6C5B4A39281, 0xE5F607183C2B1A09},
};
// clang-format on

static volatile uint64_t gBytes[2];

// Segments without a cache of their own reach the same memory, and the uncached one also what lies
// outside of RAM.
static volatile void* At(uint32_t address) { return (volatile void*)(uintptr_t)address; }

static void TestLoads(void) {
  gBytes[0] = kBytes0;
  gBytes[1] = kBytes8;
  for (uint32_t i = 0; i < sizeof(kLoads) / sizeof(kLoads[0]); i++) {
    const volatile void* address = (const volatile uint8_t*)gBytes + kLoads[i].offset;
    Check(kLoads[i].op(kRegister, address), kLoads[i].wanted);
  }
}

static void TestStores(void) {
  for (uint32_t i = 0; i < sizeof(kStores) / sizeof(kStores[0]); i++) {
    gBytes[0] = kBytes0;
    gBytes[1] = kBytes8;
    kStores[i].op(kStored, (volatile uint8_t*)gBytes + kStores[i].offset);
    CheckTrue(gBytes[0] == kStores[i].wanted0 && gBytes[1] == kStores[i].wanted8);
  }
}

static void TestSegments(void) {
  gBytes[0] = kBytes0;
  volatile uint64_t* uncached = At(PhysicalOf((const void*)gBytes) + 0xA0000000u);
  Check(uncached[0], kBytes0);
  uncached[0] = kBytes8;
  Check(gBytes[0], kBytes8);
}

static void TestOpenBus(void) {
  volatile void* nowhere = At(0xB8000000u);
  volatile void* hole = At(0xA4000000u);
  volatile void* unused = At(0xB0000000u);
  volatile void* rom = At(kRomBase + kRomKernelOffset);
  const uint64_t romWord = Op_ld(0, rom);

  Op_sw(kStored, nowhere);
  Check(Op_lw(0, nowhere), 0xFFFFFFFFE5F60718);
  Check(Op_lwu(0, At(0xB9000004u)), 0xE5F60718);
  Check(Op_ld(0, nowhere), 0xE5F60718);
  Check(Op_lhu(0, nowhere), 0x0718);
  Op_sd(kStored, nowhere);
  Check(Op_ld(0, nowhere), kStored);
  Op_sb(kStored, nowhere);
  Check(Op_ld(0, nowhere), 0x18);
  Op_swl(kStored, nowhere);
  Check(Op_ld(0, nowhere), kStored & 0xFFFFFFFF);
  Op_sdr(kRegister, At(0xB8000003u));
  Check(Op_ld(0, nowhere), kRegister);

  // A store to the ROM goes the same way.
  Op_sd(kBytes0, rom);
  Check(Op_ld(0, rom), romWord);
  Check(Op_ld(0, nowhere), kBytes0);

  // Below main RAM there is nothing at all, not even the latch; nor behind unused board registers.
  Op_sd(kStored, hole);
  Check(Op_ld(0, hole), 0);
  Op_sd(kStored, unused);
  Check(Op_ld(0, unused), 0);
  Check(Op_ld(0, nowhere), kBytes0);
}

void TestMemory(void) {
  BeginGroup(kGroupMemory);
  TestLoads();
  TestStores();
  TestSegments();
  TestOpenBus();
}

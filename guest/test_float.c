// Floating point of the main processor: both formats at the edges of their operands, conversions,
// compares and moves. A single lies in the low word of its register; the target held kKept before,
// so the columns show which ops leave the high word alone. A conversion to an integer adds a half
// and cuts off, whatever the sign; a NaN answers no to every compare, the unordered ones included.
#include "guest/cop0.h"
#include "guest/kernel.h"

typedef uint64_t SFloatOp(uint64_t a, uint64_t b);
typedef uint32_t SCompareOp(uint64_t a, uint64_t b, uint64_t before);
typedef struct SFloatRow {
  SFloatOp* op;
  uint64_t a;
  uint64_t b;
  uint64_t wanted;
} SFloatRow;

#define kKept 0x5A5A5A5A00000000
#define kDeaf 0xDEADBEEF00000000

// clang-format off
extern SFloatOp Op_f_add_s, Op_f_sub_s, Op_f_mul_s, Op_f_div_s, Op_f_sqrt_s, Op_f_abs_s, Op_f_mov_s,
    Op_f_neg_s, Op_f_add_d, Op_f_sub_d, Op_f_mul_d, Op_f_div_d, Op_f_sqrt_d, Op_f_abs_d, Op_f_mov_d,
    Op_f_neg_d, Op_f_cvt_s_w, Op_f_cvt_s_l, Op_f_cvt_s_d, Op_f_cvt_d_w, Op_f_cvt_d_l, Op_f_cvt_d_s,
    Op_f_cvt_w_s, Op_f_cvt_w_d, Op_f_cvt_l_s, Op_f_cvt_l_d, Op_f_mtc1, Op_f_mfc1, Op_f_dmtc1,
    Op_f_ctc1, Op_f_delay, Op_f_pair_mtc1, Op_f_pair_add, Op_f_pair_neg;

static const SFloatRow kRows[] = {
    // op           a                    b                    wanted
    {Op_f_add_s,    0x3DCCCCCD,          0x3E4CCCCD,          kKept | 0x3E99999A},  // 0.1 + 0.2
    {Op_f_add_s,    kDeaf | 0x3F800000,  kDeaf | 0x40000000,  kKept | 0x40400000},
    {Op_f_add_s,    0x4B800000,          0x3F800000,          kKept | 0x4B800000},  // 2^24 + 1
    {Op_f_add_s,    0x00000001,          0x00000001,          kKept | 0x00000002},  // below normal
    {Op_f_add_s,    0x7F7FFFFF,          0x7F7FFFFF,          kKept | 0x7F800000},
    {Op_f_add_s,    0x80000000,          0x00000000,          kKept | 0x00000000},
    {Op_f_add_s,    0x7FA00001,          0x3F800000,          kKept | 0x7FE00001},  // a NaN turns quiet
    {Op_f_add_s,    0x3F800000,          0xFFA00002,          kKept | 0xFFE00002},
    {Op_f_add_s,    0x7FC00003,          0x7FC00004,          kKept | 0x7FC00003},  // the first one's
    {Op_f_sub_s,    0x3DCCCCCD,          0x3E4CCCCD,          kKept | 0xBDCCCCCD},
    {Op_f_sub_s,    0x7F800000,          0x7F800000,          kKept | 0xFFC00000},
    {Op_f_mul_s,    0x3DCCCCCD,          0x3E4CCCCD,          kKept | 0x3CA3D70B},
    {Op_f_mul_s,    0x00000001,          0x3F000000,          kKept | 0x00000000},
    {Op_f_mul_s,    0xBF800000,          0x00000000,          kKept | 0x80000000},
    {Op_f_mul_s,    0x7F800000,          0x00000000,          kKept | 0xFFC00000},
    {Op_f_div_s,    0x3F800000,          0x40400000,          kKept | 0x3EAAAAAB},  // 1 / 3
    {Op_f_div_s,    0xBF800000,          0x00000000,          kKept | 0xFF800000},
    {Op_f_div_s,    0x00000000,          0x00000000,          kKept | 0xFFC00000},
    {Op_f_sqrt_s,   0x40000000,          0,                   kKept | 0x3FB504F3},
    {Op_f_sqrt_s,   0x80000000,          0,                   kKept | 0x80000000},
    {Op_f_sqrt_s,   0xBF800000,          0,                   kKept | 0xFFC00000},
    {Op_f_abs_s,    kDeaf | 0xC0200000,  0,                   kKept | 0x40200000},
    {Op_f_abs_s,    0xFFC00001,          0,                   kKept | 0x7FC00001},
    {Op_f_mov_s,    kDeaf | 0x12345678,  0,                   kKept | 0x12345678},
    {Op_f_neg_s,    0x00000000,          0,                   kKept | 0x80000000},
    {Op_f_neg_s,    0xFFC00001,          0,                   kKept | 0x7FC00001},
    {Op_f_add_d,    0x3FB999999999999A,  0x3FC999999999999A,  0x3FD3333333333334},
    {Op_f_add_d,    0x7FF4000000000001,  0x3FF0000000000000,  0x7FFC000000000001},
    {Op_f_sub_d,    0x3FD3333333333333,  0x3FB999999999999A,  0x3FC9999999999999},
    {Op_f_mul_d,    0x3FB999999999999A,  0x3FC999999999999A,  0x3F947AE147AE147C},
    {Op_f_div_d,    0x3FF0000000000000,  0x4008000000000000,  0x3FD5555555555555},
    {Op_f_div_d,    0x0,                 0x0,                 0xFFF8000000000000},
    {Op_f_sqrt_d,   0x4000000000000000,  0,                   0x3FF6A09E667F3BCD},
    {Op_f_sqrt_d,   0xBFF0000000000000,  0,                   0xFFF8000000000000},
    {Op_f_abs_d,    0xC004000000000000,  0,                   0x4004000000000000},
    {Op_f_mov_d,    0x123456789ABCDEF0,  0,                   0x123456789ABCDEF0},
    {Op_f_neg_d,    0x4004000000000000,  0,                   0xC004000000000000},
    {Op_f_cvt_s_w,  0xFFFFFFFFFFFFFFFB,  0,                   kKept | 0xC0A00000},  // -5
    {Op_f_cvt_s_w,  kDeaf | 0x01000001,  0,                   kKept | 0x4B800000},  // to even
    {Op_f_cvt_s_l,  0x0000000100000000,  0,                   kKept | 0x4F800000},
    {Op_f_cvt_s_l,  0xFFFFFFFFFFFFFFFB,  0,                   kKept | 0xC0A00000},
    {Op_f_cvt_s_d,  0x3FB999999999999A,  0,                   kKept | 0x3DCCCCCD},
    {Op_f_cvt_s_d,  0x7FE0000000000000,  0,                   kKept | 0x7F800000},
    {Op_f_cvt_d_w,  kDeaf | 0xFFFFFFFB,  0,                   0xC014000000000000},
    {Op_f_cvt_d_l,  0x0020000000000001,  0,                   0x4340000000000000},
    {Op_f_cvt_d_s,  0x123456783F800000,  0,                   0x123456783F800000},  // a plain copy
    {Op_f_cvt_w_s,  0x40200000,          0,                   kKept | 3},           // 2.5
    {Op_f_cvt_w_s,  0xC0200000,          0,                   kKept | 0xFFFFFFFE},  // -2.5
    {Op_f_cvt_w_s,  0xBFC00000,          0,                   kKept | 0xFFFFFFFF},  // -1.5
    {Op_f_cvt_w_s,  0xBF000000,          0,                   kKept | 0},           // -0.5
    {Op_f_cvt_w_s,  0x3EFFFFFF,          0,                   kKept | 1},           // just below 0.5
    {Op_f_cvt_w_s,  0x4F000000,          0,                   kKept | 0x80000000},  // too large
    {Op_f_cvt_w_s,  0x7FC00000,          0,                   kKept | 0x80000000},
    {Op_f_cvt_w_d,  0x4004000000000000,  0,                   kKept | 3},
    {Op_f_cvt_w_d,  0xC004000000000000,  0,                   kKept | 0xFFFFFFFE},
    {Op_f_cvt_w_d,  0x41E0000000000000,  0,                   kKept | 0x80000000},
    {Op_f_cvt_l_s,  0x4F000000,          0,                   0x80000000},
    {Op_f_cvt_l_s,  0xC0200000,          0,                   0xFFFFFFFFFFFFFFFE},
    {Op_f_cvt_l_d,  0x41E0000000000000,  0,                   0x80000000},
    {Op_f_cvt_l_d,  0x46293E5939A08CEA,  0,                   0x8000000000000000},
    {Op_f_mtc1,     0xFFFFFFFF89ABCDEF,  0xFFFFFFFFFFFFFFFF,  0x89ABCDEF},
    {Op_f_mfc1,     0x1234567889ABCDEF,  0,                   0xFFFFFFFF89ABCDEF},
    {Op_f_dmtc1,    0x123456789ABCDEF0,  0,                   0x123456789ABCDEF0},
    {Op_f_ctc1,     0,                   0,                   1},
    {Op_f_delay,    0,                   0,                   7},
    // Registers in pairs: mtc1 to the odd one lands in the low word, add.s on it uses the high one.
    {Op_f_pair_mtc1, 0x1111111122222222, 0x33333333,          0x1111111133333333},
    {Op_f_pair_add, 0x400000003F800000,  0,                   0x404000003F800000},
    {Op_f_pair_neg, 0,                   0x3FF0000000000000,  0xBFF0000000000000},
};

// For the pairs below from left to right: whether the relation holds.
#define VX_RELATION(name) Op_c_##name##_s, Op_c_##name##_d
extern SCompareOp VX_RELATION(f), VX_RELATION(un), VX_RELATION(eq), VX_RELATION(ueq), VX_RELATION(olt),
    VX_RELATION(ult), VX_RELATION(ole), VX_RELATION(ule), VX_RELATION(sf), VX_RELATION(ngle),
    VX_RELATION(seq), VX_RELATION(ngl), VX_RELATION(lt), VX_RELATION(nge), VX_RELATION(le),
    VX_RELATION(ngt);
#undef VX_RELATION

enum { kPairs = 6 };
static const struct { uint32_t a, b; } kSingles[kPairs] = {
    // 1, 2        2, 2                      2, 1                      -0, 0
    {0x3F800000, 0x40000000}, {0x40000000, 0x40000000}, {0x40000000, 0x3F800000}, {0x80000000, 0},
    {0x7FC00000, 0x40000000}, {0x7FC00000, 0x7FC00000},  // not a number
};
static const struct { uint64_t a, b; } kDoubles[kPairs] = {
    {0x3FF0000000000000, 0x4000000000000000}, {0x4000000000000000, 0x4000000000000000},
    {0x4000000000000000, 0x3FF0000000000000}, {0x8000000000000000, 0},
    {0x7FF8000000000000, 0x4000000000000000}, {0x7FF8000000000000, 0x7FF8000000000000},
};

static const struct { SCompareOp* single; SCompareOp* whole; uint8_t holds[kPairs]; } kRelations[] = {
    // single      double        1,2  2,2  2,1 -0,0  NaN  NaN
    {Op_c_f_s,     Op_c_f_d,    {0,   0,   0,   0,   0,   0}},
    {Op_c_un_s,    Op_c_un_d,   {0,   0,   0,   0,   0,   0}},
    {Op_c_eq_s,    Op_c_eq_d,   {0,   1,   0,   1,   0,   0}},
    {Op_c_ueq_s,   Op_c_ueq_d,  {0,   1,   0,   1,   0,   0}},
    {Op_c_olt_s,   Op_c_olt_d,  {1,   0,   0,   0,   0,   0}},
    {Op_c_ult_s,   Op_c_ult_d,  {1,   0,   0,   0,   0,   0}},
    {Op_c_ole_s,   Op_c_ole_d,  {1,   1,   0,   1,   0,   0}},
    {Op_c_ule_s,   Op_c_ule_d,  {1,   1,   0,   1,   0,   0}},
    {Op_c_sf_s,    Op_c_sf_d,   {0,   0,   0,   0,   0,   0}},
    {Op_c_ngle_s,  Op_c_ngle_d, {0,   0,   0,   0,   0,   0}},
    {Op_c_seq_s,   Op_c_seq_d,  {0,   1,   0,   1,   0,   0}},
    {Op_c_ngl_s,   Op_c_ngl_d,  {0,   1,   0,   1,   0,   0}},
    {Op_c_lt_s,    Op_c_lt_d,   {1,   0,   0,   0,   0,   0}},
    {Op_c_nge_s,   Op_c_nge_d,  {1,   0,   0,   0,   0,   0}},
    {Op_c_le_s,    Op_c_le_d,   {1,   1,   0,   1,   0,   0}},
    {Op_c_ngt_s,   Op_c_ngt_d,  {1,   1,   0,   1,   0,   0}},
};
// clang-format on

extern uint64_t Op_f_lwc1(uint64_t before, const volatile void* address);
extern uint64_t Op_f_lwc1_m4(uint64_t before, const volatile void* address);
extern void Op_f_swc1(uint64_t value, volatile void* address);
extern uint64_t Op_f_pair_lwc1(uint64_t before, const volatile void* address);
extern uint32_t Op_f_spin(uint64_t turns);

// Both branches see the condition, whatever it was before: 3 for each of the two runs.
static uint32_t Judge(SCompareOp* op, uint64_t a, uint64_t b) {
  return op(a, b, 0) << 2 | op(a, b, 1);
}

static void TestRelations(void) {
  for (uint32_t i = 0; i < sizeof(kRelations) / sizeof(kRelations[0]); i++) {
    for (uint32_t pair = 0; pair < kPairs; pair++) {
      const uint32_t wanted = kRelations[i].holds[pair] ? 15 : 0;
      Check(Judge(kRelations[i].single, kSingles[pair].a, kSingles[pair].b), wanted);
      Check(Judge(kRelations[i].whole, kDoubles[pair].a, kDoubles[pair].b), wanted);
    }
  }
}

static void TestTransfers(void) {
  static volatile uint64_t cells[2];
  cells[0] = 0xF8E7D6C5B4A39281;
  cells[1] = 0x706F5E4D3C2B1A09;
  const volatile uint8_t* bytes = (const volatile uint8_t*)cells;
  Check(Op_f_lwc1(~0ull, bytes), 0xB4A39281);
  Check(Op_f_lwc1(~0ull, bytes + 4), 0xF8E7D6C5);
  Check(Op_f_lwc1_m4(~0ull, bytes + 12), 0x3C2B1A09);
  Check(Op_f_pair_lwc1(0x1111111122222222, bytes), 0x11111111B4A39281);
  Op_f_swc1(0x1234567889ABCDEF, (volatile uint8_t*)cells + 4);
  Check(cells[0], 0x89ABCDEFB4A39281);
  Check(cells[1], 0x706F5E4D3C2B1A09);
}

void TestFloat(void) {
  enum { kTurns = 1000, kDivideCycles = 32 };
  BeginGroup(kGroupFloat);
  for (uint32_t i = 0; i < sizeof(kRows) / sizeof(kRows[0]); i++) {
    Check(kRows[i].op(kRows[i].a, kRows[i].b), kRows[i].wanted);
  }
  TestRelations();
  TestTransfers();
  // Two cycles a step of Count; an interrupt may fall into the row.
  const uint32_t steps = Op_f_spin(kTurns);
  CheckTrue(steps >= kTurns * kDivideCycles / 2 && steps < kTurns * kDivideCycles);
}

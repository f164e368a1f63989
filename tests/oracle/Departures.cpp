#include "tests/oracle/Departures.h"

#include <iterator>

namespace vx::oracle {

namespace {

// clang-format off
constexpr SDeparture kDepartures[] = {
    // id                              what the board does                       ops                                   how streams live with it
    {EDeparture::None,                 "none",                                   "",                                   EAdaptation::StandIn},
    {EDeparture::OverflowIgnored,      "overflow does not trap",                 "add addi sub dadd daddi dsub",       EAdaptation::StandIn},
    {EDeparture::DivideByZeroKeeps,    "a zero divisor leaves HI and LO",        "div divu ddiv ddivu",                EAdaptation::StandIn},
    {EDeparture::LwrZeroExtends,       "lwr zero-extends",                       "lwr",                                EAdaptation::StandIn},
    {EDeparture::CacheIgnored,         "cache does nothing",                     "cache",                              EAdaptation::StandIn},
    {EDeparture::OpsMissing,           "ops that the board lacks do nothing",    "ll sc ldc1 sdc1 sync traps round..", EAdaptation::StandIn},
    {EDeparture::WordOperands,         "word ops take any register's low word",  "sra srl srav srlv add.. mult div..", EAdaptation::LeftOut},
    {EDeparture::AlignsDown,           "misaligned addresses are aligned down",  "lh lhu lw lwu ld sh sw sd lwc1 swc1", EAdaptation::LeftOut},
    {EDeparture::AddressWidth,         "an address is a register's low word",    "loads, stores, jr, jalr",            EAdaptation::LeftOut},
    {EDeparture::JalrWritesZero,       "jalr links in register 0",               "jalr",                               EAdaptation::LeftOut},
    {EDeparture::LikelyReplay,         "replay runs an annulled delay op",       "beql bnel blezl bgtzl .. bc1fl bc1tl", EAdaptation::FormOnly},
    {EDeparture::MovesClearHighWord,   "a moved word clears the high word",      "mtc1 lwc1",                          EAdaptation::StandIn},
    {EDeparture::ControlMoves,         "control moves have no effect",           "ctc1 cfc1",                          EAdaptation::StandIn},
    {EDeparture::UnorderedCompares,    "a NaN makes every compare false",        "c.un c.ueq c.ult c.ule and signalling", EAdaptation::StandIn},
    {EDeparture::RoundsByHalf,         "to integer by adding a half",            "cvt.w cvt.l",                        EAdaptation::StandIn},
    {EDeparture::CvtDCopies,           "cvt.d of a float copies the register",   "cvt.d.s cvt.d.d",                    EAdaptation::StandIn},
    {EDeparture::CvtSReadsDouble,      "cvt.s.s reads a double",                 "cvt.s.s",                            EAdaptation::StandIn},
    {EDeparture::FormatByParity,       "an odd format is double, an even single", "add sub mul div sqrt abs mov neg c", EAdaptation::StandIn},
    {EDeparture::NanResults,           "NaN results as a host makes them",       "add sub mul div sqrt cvt.s",         EAdaptation::Guard},
    {EDeparture::PairedMoves,          "word moves use a pair's even register",  "mfc1 mtc1 lwc1 swc1, FR clear",      EAdaptation::StandIn},
    {EDeparture::PairedDoubles,        "doubles use a pair's even register",     "all doubles, FR clear", EAdaptation::StandIn},
    {EDeparture::PairedLongs,          "long integers exist with FR clear",      "cvt.l, cvt.s.l, cvt.d.l, FR clear",  EAdaptation::LeftOut},
};
// clang-format on
static_assert(std::size(kDepartures) == static_cast<size_t>(EDeparture::Count));

}  // namespace

std::span<const SDeparture> Departures() { return kDepartures; }

const SDeparture& DepartureOf(EDeparture id) { return kDepartures[static_cast<u32>(id)]; }

}  // namespace vx::oracle

#include "host/lua/Manual.h"

#include "host/lua/Internals.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr const char* kIntroduction =
    R"(# Scripts

`vxrun --script FILE PACK` runs a Lua 5.4 script beside the board. This manual is what
`vxrun --script-manual` prints.

## A script's life

The file runs once, after the pack is loaded and before the first frame; it sets callbacks. Then each
frame goes like this:

1. `vx.on_input` callbacks: set input, save and load states.
2. The board's frame. Inside it come the callbacks of the component: resets, breakpoints, hooks in the
   sound program, pictures taken. With look-ahead they come for both branches too, and functions then
   work on the branch: `Emu_GetStepInstance` tells which one it is.
3. `vx.on_branches`, then `vx.on_frame` callbacks: read the board, draw over the picture. What is drawn
   is seen in the window, in screenshots and in pictures written by `--png`, never by the board.

What a script gets wrong is told on stderr with file and line, and a callback with an error is not
called again; the board runs on. So it is with one that goes on for ever: all callbacks of a frame
have 50 million instructions (`--script-limit` sets how many millions). A script has 256 MiB.

The libraries are those of the language without files, processes, modules and debugging; `print`
writes to stdout, and random numbers are the same in each run. `--script-libraries` brings the rest:
only for scripts that you trust.

Guest memory is reached by *flat offset*, a place in the image: low RAM from 0, main RAM (physical
0x8000000, at 0x88000000 and 0xA8000000 for programs) from 0x80000, the boot ROM from 0x880000, sound
ROMs from 0x900000 up to 0xD00000. `Emu_VirtualToFlat` translates. Numbers of 64 bits are Lua integers,
with the sign that their bits have.

`vx.pad` and `vx.system` have the bits of the controls by name: )";

constexpr const char* kControlNames =
    "`UP`, `DOWN`, `LEFT`, `RIGHT`, `B1` to `B6`,\n`START`, `SELECT`; `COIN1` to `COIN4`, `TEST`, "
    "`SERVICE`, `TILT`, `VOLUME-`, `VOLUME+`.\n";

}  // namespace

std::string ScriptManual() {
  std::string text = kIntroduction;
  text += kControlNames;
  text += "\n## Functions of the host\n\n";
  for (const SHostFunction& row : HostFunctions()) {
    text += Format("- `vx.%s`  \n  %s\n", row.signature, row.sentence);
  }
  text += "\n## Functions of the component\n\n";
  for (const SFunction& function : ComponentFunctions()) {
    if (function.form == EFunctionForm::Reserved) continue;
    text += Format("- `%s` (%u)  \n  %s\n", Signature(function).c_str(), function.number,
                   function.sentence);
  }
  return text;
}

}  // namespace vx

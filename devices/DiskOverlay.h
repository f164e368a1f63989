// What the guest has written to its disk: as a delta in a stream, for save states, and as the
// overlay file beside the host's other files, which the next start applies over the pack's disk.
//
// Delta: SDeltaHeader; bitmap words from the first to the last dirty one; then 512 bytes for each
// set bit, the lowest sector first. All of it is the present contents, without history. Overlay
// file: magic, version, size of the delta, the delta. It is replaced as a whole, so that under its
// name there is always one complete overlay.
#pragma once

#include "base/StateStream.h"

namespace vx {

class CVXMachine;

// Moves on by what the delta needs whether or not it fits.
void WriteDelta(const CVXMachine& machine, SStateStream& stream);
// False, and nothing has changed, if the delta belongs to a disk of another size. Sectors that are
// dirty now but not in the delta keep their contents. A look-ahead clone takes the bitmap alone.
bool ApplyDelta(CVXMachine& machine, SStateStream& stream);

// Clears the deadline and writes the overlay file, unless the machine's setting says not to. A file
// that cannot be written leaves the earlier one as it was.
void FlushPendingOverlay(CVXMachine& machine);
// Applies the overlay file of the present disk, if there is a valid one.
void ReadOverlay(CVXMachine& machine);

}  // namespace vx

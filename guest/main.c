// The kernel after its start code.
#include "guest/kernel.h"

void KernelMain(void) {
  ClearResults();
  StartInterrupts();
  RunPowerOnTest();
  RunProgram();
}

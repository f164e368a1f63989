// The two numbers by which kernel and program know each other; assembly reads them too.
#pragma once

#define kProgramMagic 0x4D525047 /* the bytes "GPRM" */
#define kKernelCallsVersion 2

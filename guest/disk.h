// The disk as the kernel uses it: the drive, and the files on it.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include "guest/kernel_calls.h"

// --- ata.c ---
// Waits until the drive has come up, asks for its geometry and sets it.
EDiskResult StartDisk(void);
uint32_t DiskSectors(void);
EDiskResult ReadDisk(uint32_t sector, uint32_t count, void* memory);
EDiskResult WriteDisk(uint32_t sector, uint32_t count, const void* memory);

// --- files.c ---
// Reads label and directory.
EDiskResult OpenDisk(void);
EDiskResult FindFile(const char* name, SDiskFile* file);
const char* DescribeDisk(EDiskResult result);
uint32_t Crc32(uint32_t before, const void* data, uint32_t bytes);

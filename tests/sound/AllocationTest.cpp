// The way of samples to the host allocates nothing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "machine/VXMachine.h"

namespace {

unsigned long g_allocations = 0;

void* Allocate(std::size_t bytes) {
  ++g_allocations;
  void* const block = std::malloc(bytes != 0 ? bytes : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t bytes) { return Allocate(bytes); }
void* operator new[](std::size_t bytes) { return Allocate(bytes); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

namespace vx::test {
namespace {

TEST(SamplePath, AllocatesNothingOnceTheFirstFramesHaveRun) {
  auto* const machine = new CVXMachine;
  static u64 values = 0;
  machine->onAudioBlock = [](CQuillonMachineBase*, const i16*, u32 count) { values += count; };
  machine->bLoaded = 1;
  machine->Reset();
  // A transfer out of data RAM by a program of NOPs.
  CADSP& sound = machine->sound;
  sound.WriteLength(7, 64);
  sound.WriteIndex(7, 0x3800);
  sound.WriteGroup(2, 4, 1);
  machine->soundBoard.link.controlRegs[kAutobufferControl] = 0x0E02;
  machine->soundBoard.link.controlRegs[kSystemControl] = 0x0800;
  machine->soundBoard.ConfigureAutobuffer();
  machine->SetInstanceCount(4);
  for (u32 i = 0; i < 5; ++i) machine->RunFrame();
  const u64 valuesBefore = values;
  const unsigned long before = g_allocations;
  for (u32 i = 0; i < 30; ++i) {
    machine->instances.Forward(0x55);
    for (SDspInstanceSlot& slot : machine->instances.slots) {
      slot.position[0] += 1.0f;
      slot.instance->board.link.boardFlags |= kCommandTaken;
      slot.instance->processor.WakeUp();
    }
    machine->RunFrame();
  }
  EXPECT_EQ(g_allocations, before);
  EXPECT_GT(values, valuesBefore + 30 * 1000);
  machine->Destruct(1);
}

}  // namespace
}  // namespace vx::test

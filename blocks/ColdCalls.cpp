#include "blocks/ColdCalls.h"

#if defined(__x86_64__)

namespace vx {

namespace {

template <typename T>
u64 Read(CVXMachine* m, u32 physical, u32 uncharged) {
  return ReadSlow<T>(m, physical, uncharged);
}
template <typename T>
void Write(CVXMachine* m, u32 physical, u64 value, u32 uncharged) {
  WriteSlow<T>(m, physical, static_cast<T>(value), uncharged);
}

}  // namespace

// What the calls below jump through, by width.
extern "C" {
[[gnu::visibility("hidden")]] extern u64 (*const vx_cold_reads[4])(CVXMachine*, u32, u32);
[[gnu::visibility("hidden")]] extern void (*const vx_cold_writes[4])(CVXMachine*, u32, u64, u32);
u64 (*const vx_cold_reads[4])(CVXMachine*, u32, u32) = {Read<u8>, Read<u16>, Read<u32>, Read<u64>};
void (*const vx_cold_writes[4])(CVXMachine*, u32, u64, u32) = {Write<u8>, Write<u16>, Write<u32>,
                                                               Write<u64>};
}

// rdi: machine; eax: physical address and the result; rsi: value to write; on the stack, below the
// return address and dropped on return: the uncharged ops. All other registers are kept.
asm(R"(
.pushsection .text

.macro VX_SAVE
  pushq %rbp
  movq %rsp, %rbp
  pushq %rcx
  pushq %rdx
  pushq %rsi
  pushq %rdi
  pushq %r8
  pushq %r9
  pushq %r10
  pushq %r11
  subq $256, %rsp
  andq $-16, %rsp
  movaps %xmm0, 0(%rsp)
  movaps %xmm1, 16(%rsp)
  movaps %xmm2, 32(%rsp)
  movaps %xmm3, 48(%rsp)
  movaps %xmm4, 64(%rsp)
  movaps %xmm5, 80(%rsp)
  movaps %xmm6, 96(%rsp)
  movaps %xmm7, 112(%rsp)
  movaps %xmm8, 128(%rsp)
  movaps %xmm9, 144(%rsp)
  movaps %xmm10, 160(%rsp)
  movaps %xmm11, 176(%rsp)
  movaps %xmm12, 192(%rsp)
  movaps %xmm13, 208(%rsp)
  movaps %xmm14, 224(%rsp)
  movaps %xmm15, 240(%rsp)
.endm

.macro VX_RESTORE
  movaps 0(%rsp), %xmm0
  movaps 16(%rsp), %xmm1
  movaps 32(%rsp), %xmm2
  movaps 48(%rsp), %xmm3
  movaps 64(%rsp), %xmm4
  movaps 80(%rsp), %xmm5
  movaps 96(%rsp), %xmm6
  movaps 112(%rsp), %xmm7
  movaps 128(%rsp), %xmm8
  movaps 144(%rsp), %xmm9
  movaps 160(%rsp), %xmm10
  movaps 176(%rsp), %xmm11
  movaps 192(%rsp), %xmm12
  movaps 208(%rsp), %xmm13
  movaps 224(%rsp), %xmm14
  movaps 240(%rsp), %xmm15
  leaq -64(%rbp), %rsp
  popq %r11
  popq %r10
  popq %r9
  popq %r8
  popq %rdi
  popq %rsi
  popq %rdx
  popq %rcx
  popq %rbp
  ret $8
.endm

.macro VX_COLD_READ bits, row
.globl vx_cold_read\bits
.hidden vx_cold_read\bits
.type vx_cold_read\bits, @function
.balign 16
vx_cold_read\bits:
  VX_SAVE
  movl %eax, %esi
  movl 16(%rbp), %edx
  call *vx_cold_reads+8*\row(%rip)
  VX_RESTORE
.endm

.macro VX_COLD_WRITE bits, row
.globl vx_cold_write\bits
.hidden vx_cold_write\bits
.type vx_cold_write\bits, @function
.balign 16
vx_cold_write\bits:
  VX_SAVE
  pushq %rax
  pushq %rax
  movq %rsi, %rdx
  movl %eax, %esi
  movl 16(%rbp), %ecx
  call *vx_cold_writes+8*\row(%rip)
  popq %rax
  popq %rax
  VX_RESTORE
.endm

VX_COLD_READ 8, 0
VX_COLD_READ 16, 1
VX_COLD_READ 32, 2
VX_COLD_READ 64, 3
VX_COLD_WRITE 8, 0
VX_COLD_WRITE 16, 1
VX_COLD_WRITE 32, 2
VX_COLD_WRITE 64, 3

.popsection
)");

}  // namespace vx

#endif

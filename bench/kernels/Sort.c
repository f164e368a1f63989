// Sorts words: quicksort by the middle of three, with an insertion sort for short ranges.
#include "bench/kernels/Kernel.h"

enum { kCount = 4096, kShort = 12 };

static KU32 source[kCount];
static KU32 values[kCount];

void PrepareSort(void) {
  KU32 state = 0x2545F491;
  for (KU32 i = 0; i < kCount; ++i) source[i] = NextNumber(&state);
}

static void Swap(KU32* a, KU32* b) {
  const KU32 value = *a;
  *a = *b;
  *b = value;
}

static KU32 MiddleOf(KS32 low, KS32 high) {
  const KS32 middle = low + (high - low) / 2;
  if (values[middle] < values[low]) Swap(&values[middle], &values[low]);
  if (values[high] < values[low]) Swap(&values[high], &values[low]);
  if (values[high] < values[middle]) Swap(&values[high], &values[middle]);
  return values[middle];
}

static void SortRange(KS32 low, KS32 high) {
  while (high - low > kShort) {
    const KU32 pivot = MiddleOf(low, high);
    KS32 left = low, right = high;
    while (left <= right) {
      while (values[left] < pivot) ++left;
      while (values[right] > pivot) --right;
      if (left > right) break;
      Swap(&values[left++], &values[right--]);
    }
    if (right - low < high - left) {
      SortRange(low, right);
      low = left;
    } else {
      SortRange(left, high);
      high = right;
    }
  }
  for (KS32 i = low + 1; i <= high; ++i) {
    const KU32 value = values[i];
    KS32 at = i;
    for (; at > low && values[at - 1] > value; --at) values[at] = values[at - 1];
    values[at] = value;
  }
}

KU32 PassSort(void) {
  for (KU32 i = 0; i < kCount; ++i) values[i] = source[i];
  SortRange(0, kCount - 1);
  KU32 sum = 0;
  for (KU32 i = 0; i < kCount; ++i) sum = Fold(sum, values[i]);
  return sum;
}

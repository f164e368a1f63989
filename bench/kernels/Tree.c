// Builds a search tree that keeps itself in balance by random ranks, looks keys up, and walks it in
// order. Nodes name each other by number, so that a node is of one size everywhere.
#include "bench/kernels/Kernel.h"

enum { kNodes = 1024, kLookUps = 4096, kNone = 0 };

typedef struct {
  KU32 key, rank;
  KU16 left, right;
} SNode;

static SNode nodes[kNodes + 1];  // number 0 is none
static KU32 keys[kNodes];
static KU32 used;
static KU32 walkSum;

void PrepareTree(void) {
  KU32 state = 0x5EED5EED;
  for (KU32 i = 0; i < kNodes; ++i) keys[i] = NextNumber(&state);
}

static KU32 TurnRight(KU32 at) {
  const KU32 top = nodes[at].left;
  nodes[at].left = nodes[top].right;
  nodes[top].right = (KU16)at;
  return top;
}

static KU32 TurnLeft(KU32 at) {
  const KU32 top = nodes[at].right;
  nodes[at].right = nodes[top].left;
  nodes[top].left = (KU16)at;
  return top;
}

// Answers the node that now stands on top of this part.
static KU32 Insert(KU32 at, KU32 key) {
  if (at == kNone) {
    SNode* const node = &nodes[++used];
    node->key = key;
    node->rank = key * 0x9E3779B1u;
    node->left = node->right = kNone;
    return used;
  }
  if (key < nodes[at].key) {
    nodes[at].left = (KU16)Insert(nodes[at].left, key);
    return nodes[nodes[at].left].rank > nodes[at].rank ? TurnRight(at) : at;
  }
  nodes[at].right = (KU16)Insert(nodes[at].right, key);
  return nodes[nodes[at].right].rank > nodes[at].rank ? TurnLeft(at) : at;
}

static KU32 StepsTo(KU32 at, KU32 key) {
  KU32 steps = 0;
  for (; at != kNone && nodes[at].key != key; ++steps) {
    at = key < nodes[at].key ? nodes[at].left : nodes[at].right;
  }
  return steps;
}

static void Walk(KU32 at) {
  if (at == kNone) return;
  Walk(nodes[at].left);
  walkSum = Fold(walkSum, nodes[at].key);
  Walk(nodes[at].right);
}

KU32 PassTree(void) {
  KU32 root = kNone;
  used = 0;
  for (KU32 i = 0; i < kNodes; ++i) root = Insert(root, keys[i]);
  KU32 state = 77, sum = 0;
  for (KU32 i = 0; i < kLookUps; ++i) {
    const KU32 number = NextNumber(&state);
    const KU32 key = keys[number % kNodes] + (number >> 31);  // half of them are not there
    sum = Fold(sum, StepsTo(root, key));
  }
  walkSum = sum;
  Walk(root);
  return walkSum;
}

#include "Platform/rulewalk.h"

#include <atomic>

namespace {

// Registered while static objects are made, so it must need no construction of its own.
constinit std::atomic<PlatRuleWalk> g_walk{nullptr};

} // namespace

void PlatSetRuleWalk(PlatRuleWalk walk) { g_walk.store(walk, std::memory_order_release); }
PlatRuleWalk PlatGetRuleWalk() { return g_walk.load(std::memory_order_acquire); }

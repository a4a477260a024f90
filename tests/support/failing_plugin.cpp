// A plug-in that passes print data on and breaks by chance before it or after, for scripts/soak-network.

#include <portwise/plugin.h>

#include <atomic>
#include <stdexcept>

#include "tests/support/faults.h"

namespace {

void TakeAChance() {
  static std::atomic<unsigned> chance{1};
  const unsigned next = chance = chance * 1664525u + 1013904223u;
  if (next >> 22 == 0) throw std::runtime_error("Bad luck.");
  if (next >> 22 == 1) portwise::ReadNull();
  if (next >> 22 == 2) portwise::DivideByZero();
}

BYTE WINAPI Write(PortwiseBlock* block, const void* data, DWORD length, DWORD* written) {
  TakeAChance();
  const bool taken = block->write(block, data, length, written) != 0;
  TakeAChance();
  return taken;
}

}  // namespace

extern "C" BOOL WINAPI InitializeProtocolInterface(DWORD version, PortwiseProtocolTable* table) {
  table->version = version;
  table->getCapabilities = [](PortwiseBlock*, PortwiseCapabilities* can) { can->flags = PORTWISE_PROTOCOL_ACTIVE; };
  table->notify = [](PortwiseBlock*, DWORD) { TakeAChance(); };
  table->write = Write;
  return TRUE;
}

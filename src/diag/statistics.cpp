// The process-wide statistics counters.
#include <kr/diag.h>

#include "diag/process_state.h"

namespace {

// Adds in 32-bit two's complement: a counter of a long-running server wraps
// instead of overflowing.
void Add(int* counter, long delta) {
  *counter = static_cast<int>(static_cast<unsigned>(*counter) + static_cast<unsigned>(delta));
}

}  // namespace

KrStatistics::KrStatistics() : flags(0) { Clear(); }

void KrStatistics::Clear() {
  transactions = 0;
  commits = 0;
  aborts = 0;
  csRequests = 0;
  failedCsRequests = 0;
  serverNotifications = 0;
  queries = 0;
  clients = 0;
  objDescs = 0;
  extents = 0;
  locks = 0;
  watches = 0;
}

void KrStatistics::Enable() {}

KrStatistics& KrStatistics::IncTransactions() {
  Add(&transactions, 1);
  return *this;
}

KrStatistics& KrStatistics::DecTransactions() {
  Add(&transactions, -1);
  return *this;
}

KrStatistics& KrStatistics::IncCommits() {
  Add(&commits, 1);
  return *this;
}

KrStatistics& KrStatistics::IncAborts() {
  Add(&aborts, 1);
  return *this;
}

KrStatistics& KrStatistics::IncCSRequests() {
  Add(&csRequests, 1);
  return *this;
}

KrStatistics& KrStatistics::IncFailedCSRequests() {
  Add(&failedCsRequests, 1);
  return *this;
}

KrStatistics& KrStatistics::IncServerNotifications() {
  Add(&serverNotifications, 1);
  return *this;
}

KrStatistics& KrStatistics::IncQueries() {
  Add(&queries, 1);
  return *this;
}

KrStatistics& KrStatistics::IncClients() {
  Add(&clients, 1);
  return *this;
}

KrStatistics& KrStatistics::DecClients() {
  Add(&clients, -1);
  return *this;
}

KrStatistics& KrStatistics::IncObjDescs() {
  Add(&objDescs, 1);
  return *this;
}

KrStatistics& KrStatistics::DecObjDescs() {
  Add(&objDescs, -1);
  return *this;
}

KrStatistics& KrStatistics::IncExtents() {
  Add(&extents, 1);
  return *this;
}

KrStatistics& KrStatistics::DecExtents() {
  Add(&extents, -1);
  return *this;
}

KrStatistics& KrStatistics::IncLocks() {
  Add(&locks, 1);
  return *this;
}

KrStatistics& KrStatistics::DecLocks() {
  Add(&locks, -1);
  return *this;
}

KrStatistics& KrStatistics::AddLocks(long count) {
  Add(&locks, count);
  return *this;
}

KrStatistics& KrStatistics::IncWatches() {
  Add(&watches, 1);
  return *this;
}

KrStatistics& KrStatistics::DecWatches() {
  Add(&watches, -1);
  return *this;
}

KrStatistics& KrStatistics::AddWatches(long count) {
  Add(&watches, count);
  return *this;
}

KrStatistics& KrStatistics::AddRefreshedObjects(long count) {
  Add(&refreshedObjects, count);
  return *this;
}

KrStatistics& KrStatistics::AddDeliveredObjects(long count) {
  Add(&deliveredObjects, count);
  return *this;
}

KrStatistics& KrStatistics::IncInternalTransactions() {
  Add(&internalTransactions, 1);
  return *this;
}

KrStatistics* Statistics() { return &kr_detail::_Statistics; }

int RegisterStatistics() { return 0; }

int DeregisterStatistics() { return 0; }

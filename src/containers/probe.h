// Reading what a probe iterator stands on, for container operations.
#ifndef KR_SRC_CONTAINERS_PROBE_H_
#define KR_SRC_CONTAINERS_PROBE_H_

#include <kr/containers.h>

namespace kr_detail {

// Reads the key and dat of the probe's current element; a missing dat (-519)
// is no failure and leaves `dat` null. Returns a negative status of the
// probe's entry or of its element functions, else a non-negative one.
inline int ReadProbeParts(KrVIterator const* probe, KrVParameter* probeParameter,
                          void const*& key, void const*& dat) {
  key = nullptr;
  dat = nullptr;
  int status = 0;
  void const* entry = probe->GetEntry(status, probeParameter);
  if (status < 0) return status;
  status = probe->GetEntryParts(entry, nullptr, &key, &dat, nullptr, probeParameter);
  return status == kKrNoDat ? 0 : status;
}

}  // namespace kr_detail

#endif  // KR_SRC_CONTAINERS_PROBE_H_

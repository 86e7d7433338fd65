// The process-wide service-stopped flag.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include "child_process.h"

TEST(ServiceState, GoesFromZeroToOne) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    int before = KIRO_Service_hasStopped();
    StopKIRO_Service();
    StopKIRO_Service();
    return before * 10 + KIRO_Service_hasStopped();
  });
  EXPECT_EQ(result.exitCode, 1);
}

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

extern "C" void __lsan_do_leak_check() __attribute__((weak));

// Every test shuts its own service down before it ends. What is left at exit
// is the HTTP library's shared thread pool, whose teardown can wait forever on
// a connection task still in flight; so the test programs end without
// running static destructors, after the leak check that exit would have run.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const int rc = RUN_ALL_TESTS();
  std::fflush(nullptr);
  if (__lsan_do_leak_check) __lsan_do_leak_check();
  std::_Exit(rc);
}

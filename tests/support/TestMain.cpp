#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

extern "C" void __lsan_do_leak_check() __attribute__((weak));

// Ends without static destructors (the HTTP library's pool can wait forever
// on a task in flight), after the leak check that exit would have run.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const int rc = RUN_ALL_TESTS();
  std::fflush(nullptr);
  if (__lsan_do_leak_check) __lsan_do_leak_check();
  std::_Exit(rc);
}

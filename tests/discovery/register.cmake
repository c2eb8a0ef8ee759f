# Publication tests that need their own environment, beside the area's plain
# program (velora_discovery_tests). Included from tests/CMakeLists.txt.
set(VELORA_DISCOVERY_DIR ${CMAKE_CURRENT_LIST_DIR})

# No system bus in reach, so every publication fails. The program points the
# bus away itself too; the property covers a library reading it before main().
# One variable only: gtest_discover_tests keeps just the first item of a list.
add_executable(velora_discovery_no_daemon_tests
  ${VELORA_DISCOVERY_DIR}/no_daemon/NoDaemonPublicationTest.cpp)
velora_test_program(velora_discovery_no_daemon_tests)
gtest_discover_tests(velora_discovery_no_daemon_tests
  TEST_PREFIX "discovery." DISCOVERY_TIMEOUT 60
  PROPERTIES LABELS discovery TIMEOUT 60
             ENVIRONMENT "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent")

# Starts the system bus and avahi-daemon when missing (reused otherwise, and
# left running: `scripts/avahi-test-env.sh stop` ends them).
add_test(NAME discovery.avahi_env_start
  COMMAND bash ${VELORA_DISCOVERY_DIR}/../../scripts/avahi-test-env.sh start)
set_tests_properties(discovery.avahi_env_start PROPERTIES
  FIXTURES_SETUP velora_avahi LABELS discovery TIMEOUT 60)

# One publication at a time: every player here takes the machine's name.
add_executable(velora_discovery_daemon_tests
  ${VELORA_DISCOVERY_DIR}/with_daemon/DaemonPublicationTest.cpp)
velora_test_program(velora_discovery_daemon_tests)
gtest_discover_tests(velora_discovery_daemon_tests
  TEST_PREFIX "discovery." DISCOVERY_TIMEOUT 60
  PROPERTIES LABELS discovery TIMEOUT 120
             FIXTURES_REQUIRED velora_avahi RESOURCE_LOCK velora_dnssd_name
             ENVIRONMENT "AVAHI_COMPAT_NOWARN=1")

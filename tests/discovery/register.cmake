# Publication tests that need a particular environment, next to the area's
# plain program (velora_discovery_tests, from tests/discovery/*.cpp):
#
#   velora_discovery_no_daemon_tests    the system bus is out of reach, so every
#                                       publication fails
#   velora_discovery_daemon_tests       a DNS-SD daemon answers; the fixture
#                                       discovery.avahi_env_start makes sure of
#                                       it and fails (with the tests behind it)
#                                       when it cannot
#
# Included from tests/CMakeLists.txt after the areas are set up.

set(VELORA_DISCOVERY_DIR ${CMAKE_CURRENT_LIST_DIR})

function(velora_discovery_program target)
  add_executable(${target} ${ARGN})
  velora_test_program(${target})
endfunction()

velora_discovery_program(velora_discovery_no_daemon_tests
  ${VELORA_DISCOVERY_DIR}/no_daemon/NoDaemonPublicationTest.cpp)
# The program points the bus away by itself too (and silences the DNS-SD
# library's warning); the property keeps a ctest run honest even if a library
# read the address before main(). One variable only: gtest_discover_tests
# loses every item of a list-valued property but the first.
gtest_discover_tests(velora_discovery_no_daemon_tests
  TEST_PREFIX "discovery."
  DISCOVERY_TIMEOUT 60
  PROPERTIES LABELS discovery TIMEOUT 60
             ENVIRONMENT "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent")

# Starts the system bus and avahi-daemon when they are missing, reuses them
# otherwise. Nothing stops them afterwards: the daemons may be the developer's
# own, and ours cost nothing idle (scripts/avahi-test-env.sh stop ends them).
add_test(NAME discovery.avahi_env_start
  COMMAND bash ${VELORA_DISCOVERY_DIR}/../../scripts/avahi-test-env.sh start)
set_tests_properties(discovery.avahi_env_start PROPERTIES
  FIXTURES_SETUP velora_avahi
  LABELS discovery
  TIMEOUT 60)

velora_discovery_program(velora_discovery_daemon_tests
  ${VELORA_DISCOVERY_DIR}/with_daemon/DaemonPublicationTest.cpp
  ${VELORA_DISCOVERY_DIR}/with_daemon/PlayerProcess.cpp)
# One publication at a time: every player on the machine publishes under the
# machine's name, and the daemon refuses a second one while the first lives.
gtest_discover_tests(velora_discovery_daemon_tests
  TEST_PREFIX "discovery."
  DISCOVERY_TIMEOUT 60
  PROPERTIES LABELS discovery TIMEOUT 120
             FIXTURES_REQUIRED velora_avahi
             RESOURCE_LOCK velora_dnssd_name
             ENVIRONMENT "AVAHI_COMPAT_NOWARN=1")

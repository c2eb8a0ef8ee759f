#pragma once

#include "support/RecordingHost.h"
#include "support/ServiceFixture.h"

namespace velora_test {

// A started service with a recording host behind every listener.
class RoutedService : public ::testing::Test {
 protected:
  void SetUp() override {
    host.attach(*sut.service);
    port = sut.start();
    host.clear();  // the publication is not what the tests look at
  }
  HttpReply get(const std::string& target, int timeoutMs = 5000) {
    return httpGet(port, target, timeoutMs);
  }
  // Pairs a client with `code` and has the host approve it; returns its token.
  std::string pair(int code, const std::string& name = "Phone") {
    const HttpReply first =
        get("/authenticate?code=" + std::to_string(code) + "&name=" + name + "&version=3");
    Capabilities caps{7};
    sut.service->authenticate(code, "Velora Test", caps);
    const auto body = web::json::value::parse(first.body);
    return body.at("token").as_string();
  }

  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  RecordingHost host;
  int port = 0;
};

}  // namespace velora_test

#pragma once

#include <functional>
#include <initializer_list>

#include "support/RecordingHost.h"
#include "support/ServiceFixture.h"

namespace velora_test {

// A request, the callback lines it fires ("; " between them) and its reply.
// With `refusal` set it is sent again, the callback answering that status,
// and must reply `refusedStatus` with `refusedBody`. Null bodies are not compared.
struct Route {
  const char* target;
  const char* calls;
  int status = 200;
  const char* body = R"("SUCCESS")";
  int refusal = 0;
  int refusedStatus = 401;
  const char* refusedBody = nullptr;
};

// A temporary where a setter takes a reference to what the host keeps.
template <typename T>
T& lv(T&& v) {
  return v;
}

// A started service with a recording host behind every listener.
class RoutedService : public ::testing::Test {
 protected:
  void SetUp() override {
    host.attach(*sut.service);
    port = sut.start();
    host.clear();
  }
  HttpReply get(const std::string& target, int timeoutMs = 5000) {
    return httpGet(port, target, timeoutMs);
  }
  std::string calls() {
    std::string joined;
    for (const auto& c : host.calls()) joined += (joined.empty() ? "" : "; ") + c;
    return joined;
  }
  void expectRoutes(std::initializer_list<Route> routes) {
    for (const Route& r : routes) {
      host.clear();
      const HttpReply reply = get(r.target);
      EXPECT_EQ(r.calls, calls()) << r.target;
      EXPECT_EQ(r.status, reply.status) << r.target;
      if (r.body != nullptr) {
        EXPECT_EQ(r.body, reply.body) << r.target;
      }
      if (r.refusal == 0) continue;
      const std::string callback = std::string(r.calls).substr(0, std::string(r.calls).find(' '));
      host.answer(callback, r.refusal);
      const HttpReply refused = get(r.target);
      host.answer(callback, 0);
      EXPECT_EQ(r.refusedStatus, refused.status) << r.target << " refused";
      if (r.refusedBody != nullptr) {
        EXPECT_EQ(r.refusedBody, refused.body) << r.target << " refused";
      }
    }
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

#pragma once

#include <functional>
#include <initializer_list>

#include "support/RecordingHost.h"
#include "support/ServiceFixture.h"

namespace velora_test {

// One request as a remote sends it and everything the host and the remote
// see of it: the callback lines it fires ("; " between them, "" for none) and
// the reply. With `refusal` set the request is sent a second time, the first
// callback answering that status, and must then reply `refusedStatus` with
// `refusedBody`. A null body is not compared.
struct Route {
  const char* target;
  const char* calls;
  int status = 200;
  const char* body = R"("SUCCESS")";
  int refusal = 0;
  int refusedStatus = 401;
  const char* refusedBody = nullptr;
};

// A reply the host stores through a setter from inside `callback`.
struct Answer {
  const char* callback;
  std::function<void(VeloraRestService&)> store;
  const char* target;
  const char* body;
};

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
  void expectAnswers(std::initializer_list<Answer> answers) {
    for (const Answer& a : answers) {
      host.onCall(a.callback, [this, &a] { a.store(s); });
      EXPECT_EQ(a.body, get(a.target).body) << a.target;
      host.onCall(a.callback, [] {});
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

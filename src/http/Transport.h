#pragma once

#include <functional>
#include <memory>

#include <cpprest/http_msg.h>

namespace web::http::experimental::listener {
class http_listener;
}

// The only code that touches the HTTP library's listener: it opens one on a
// port of every address for GET, POST, PUT, DELETE and HEAD, hands every request
// to one handler, and closes it safely while clients keep connecting.
class Transport {
 public:
  using Handler = std::function<void(web::http::http_request)>;

  Transport();
  ~Transport();

  // Throws when the port cannot be bound.
  void open(int port, Handler handler);
  // Nothing happens when it is not open.
  void close();
  bool isOpen() const { return listener_ != nullptr; }

 private:
  std::shared_ptr<web::http::experimental::listener::http_listener> listener_;
};

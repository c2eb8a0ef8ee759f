#include "http/Transport.h"

#include <cpprest/http_listener.h>

#include "http/Server.h"

using web::http::methods;
using web::http::experimental::listener::http_listener;

Transport::Transport() = default;
Transport::~Transport() = default;

void Transport::open(int port, Handler handler) {
  installServer();
  web::uri_builder uri("http://0.0.0.0");
  uri.set_port(port);
  listener_ = std::make_shared<http_listener>(uri.to_uri());
  for (const auto& method :
       {methods::GET, methods::POST, methods::PUT, methods::DEL, methods::HEAD}) {
    listener_->support(method, handler);
  }
  listener_->open().wait();
}

void Transport::close() {
  if (!listener_) return;
  try {
    listener_->close().wait();
  } catch (const std::exception&) {
    // A listener that never opened has nothing to close.
  }
  listener_.reset();
}

#include "http/Server.h"

#include <sys/resource.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/asio/dispatch.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/status.hpp>
#include <cpprest/details/http_server.h>
#include <cpprest/details/http_server_api.h>
#include <cpprest/http_listener.h>
#include <pplx/threadpool.h>

#include "http/RequestReader.h"
#include "util/Support.h"

namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
using tcp = net::ip::tcp;
using boost::system::error_code;
using web::http::http_request;
using web::http::http_response;
using web::http::experimental::details::http_server;
using web::http::experimental::details::http_server_api;
using web::http::experimental::listener::http_listener;
using web::http::experimental::listener::details::http_listener_impl;
using Clock = std::chrono::steady_clock;

// A client gets 10 s to send a request's head once it starts one (or once it
// connects), and may keep a connection idle for 60 s between requests. A
// body must keep arriving, and a reply keep leaving, at least every 60 s.
constexpr auto kHeadTime = std::chrono::seconds(10);
constexpr auto kIdleTime = std::chrono::seconds(60);
constexpr auto kWriteTime = std::chrono::seconds(60);
// After a reply that closes the connection, what the client still sends is
// read and dropped for a while, so that the reply is not lost to a reset.
constexpr auto kLingerTime = std::chrono::seconds(2);
// Descriptors kept free for the connections in use and the host's own files:
// a connection that would take one of them is closed at once.
constexpr rlim_t kSpareDescriptors = 64;
constexpr size_t kReadSize = 16 * 1024;
// The listener that holds the library's registry open; it is never bound.
constexpr const char* kAnchorHost = "velora-anchor.invalid";

net::io_context& io() { return crossplat::threadpool::shared_instance().service(); }

bool nearDescriptorLimit(int fd) {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return false;
  return static_cast<rlim_t>(fd) + kSpareDescriptors >= limit.rlim_cur;
}

class Session;

// Where a request goes on a port: the listener with the longest path that
// starts the request's path, as the library's own server chooses.
std::string listenerKey(const std::string& path) {
  return path.empty() || path.back() != '/' ? path + "/" : path;
}

// One port: its acceptor, its connections, the listeners on it, and the
// count of handlers under way, which removing a listener waits for.
class Port : public std::enable_shared_from_this<Port> {
 public:
  Port() : acceptor_(io()), retry_(io()) {}

  void bind(const tcp::endpoint& endpoint) {
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(net::socket_base::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen(net::socket_base::max_listen_connections);
    std::lock_guard<std::mutex> lock(mutex_);
    accept();
  }

  void addListener(http_listener_impl* listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    listeners_[listenerKey(listener->uri().path())] = listener;
  }

  // Returns whether any listener is left. Handlers under way still use the
  // listener; a handler that closes its own listener is one of them. A host
  // callback that never returns is not waited for beyond a few seconds.
  bool removeListener(http_listener_impl* listener) {
    std::unique_lock<std::mutex> lock(mutex_);
    listeners_.erase(listenerKey(listener->uri().path()));
    const int own = tDispatching == this ? 1 : 0;
    idle_.wait_for(lock, std::chrono::seconds(5), [&] { return dispatching_ <= own; });
    return !listeners_.empty();
  }

  // Runs `handle` with the listener for `path` (decoded); false when none.
  template <typename Handle>
  bool withListener(const std::string& path, Handle handle) {
    http_listener_impl* listener = nullptr;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      std::string prefix = listenerKey(path);
      while (listener == nullptr) {
        auto it = listeners_.find(prefix);
        if (it != listeners_.end()) {
          listener = it->second;
        } else if (prefix.size() <= 1) {
          return false;
        } else {
          prefix.resize(prefix.rfind('/', prefix.size() - 2) + 1);
        }
      }
      ++dispatching_;
    }
    const Port* outer = tDispatching;
    tDispatching = this;
    handle(*listener);
    tDispatching = outer;
    std::lock_guard<std::mutex> lock(mutex_);
    if (--dispatching_ == 0) idle_.notify_all();
    return true;
  }

  void add(Session* session, std::weak_ptr<Session> weak) {
    std::lock_guard<std::mutex> lock(mutex_);
    sessions_.emplace(session, std::move(weak));
  }
  void remove(Session* session) {
    std::lock_guard<std::mutex> lock(mutex_);
    sessions_.erase(session);
  }

  // Frees the port and ends its connections.
  void close();

 private:
  // The caller holds the mutex.
  void accept() {
    acceptor_.async_accept(net::make_strand(io()),
                           [self = shared_from_this()](error_code ec, tcp::socket socket) {
                             self->accepted(ec, std::move(socket));
                           });
  }
  void accepted(error_code ec, tcp::socket socket);

  static thread_local const Port* tDispatching;

  std::mutex mutex_;
  std::condition_variable idle_;
  bool open_ = true;
  int dispatching_ = 0;
  std::map<std::string, http_listener_impl*> listeners_;
  tcp::acceptor acceptor_;
  net::steady_timer retry_;
  std::map<Session*, std::weak_ptr<Session>> sessions_;
};

thread_local const Port* Port::tDispatching = nullptr;

// What a request carries to its reply: the connection to answer on, kept
// while a handler holds the request (no read or write is pending then).
struct Context : web::http::details::_http_server_context {
  explicit Context(std::shared_ptr<Session> s) : session(std::move(s)) {}
  std::shared_ptr<Session> session;
};

// One connection. Everything it does runs on its strand; a reply may come
// from any thread and is handed over to it.
class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(tcp::socket socket, std::shared_ptr<Port> port)
      : stream_(std::move(socket)), port_(std::move(port)) {
    error_code ec;
    const auto peer = stream_.socket().remote_endpoint(ec);
    if (!ec) peer_ = peer.address().to_string();
    stream_.socket().set_option(tcp::no_delay(true), ec);
  }
  ~Session() { port_->remove(this); }

  void start() {
    port_->add(this, weak_from_this());
    headDeadline_ = Clock::now() + kHeadTime;
    deadlineSet_ = true;
    net::dispatch(stream_.get_executor(), [self = shared_from_this()] { self->read(); });
  }

  void close() {
    net::post(stream_.get_executor(), [self = shared_from_this()] { self->shut(); });
  }

  void send(http_response response, pplx::task_completion_event<void> sent) {
    net::dispatch(stream_.get_executor(),
                  [self = shared_from_this(), response = std::move(response), sent]() mutable {
                    self->write(std::move(response), sent);
                  });
  }

 private:
  void read() {
    if (closed_) return;
    if (reader_.headDone()) {
      stream_.expires_after(kIdleTime);
    } else if (deadlineSet_) {
      stream_.expires_at(headDeadline_);
    } else {
      stream_.expires_after(kIdleTime);
    }
    stream_.async_read_some(
        reader_.buffer().prepare(kReadSize),
        [self = shared_from_this()](error_code ec, size_t n) { self->onRead(ec, n); });
  }

  void onRead(error_code ec, size_t n) {
    if (ec) return shut();
    reader_.buffer().commit(n);
    if (!deadlineSet_) {
      headDeadline_ = Clock::now() + kHeadTime;
      deadlineSet_ = true;
    }
    process();
  }

  void process() {
    switch (reader_.step()) {
      case RequestReader::Step::More:
        if (reader_.headDone() && !continued_ && expectsContinue()) {
          continued_ = true;
          return writeRaw("HTTP/1.1 100 Continue\r\n\r\n", false);
        }
        return read();
      case RequestReader::Step::Reject:
        return reject(reader_.rejectStatus());
      case RequestReader::Step::Ready:
        return dispatch(false);
      case RequestReader::Step::Oversized:
        return dispatch(true);
    }
  }

  bool expectsContinue() {
    const auto& m = reader_.message();
    auto it = m.find(beast::http::field::expect);
    return it != m.end() && beast::iequals(it->value(), "100-continue");
  }

  void reject(unsigned status) {
    keepAlive_ = false;
    writeRaw("HTTP/1.1 " + std::to_string(status) + " " +
                 std::string(beast::http::obsolete_reason(beast::http::int_to_status(status))) +
                 "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n",
             true);
  }

  // Writes a reply made here, not by a handler; `last` ends the connection.
  void writeRaw(std::string bytes, bool last) {
    head_ = std::move(bytes);
    stream_.expires_after(kWriteTime);
    net::async_write(stream_, net::buffer(head_),
                     [self = shared_from_this(), last](error_code ec, size_t) {
                       if (ec) return self->shut();
                       if (last) return self->linger();
                       self->read();
                     });
  }

  void dispatch(bool oversized) {
    auto& m = reader_.message();
    isHead_ = m.method() == beast::http::verb::head;
    keepAlive_ = !oversized && m.keep_alive();
    if (m.method() == beast::http::verb::trace) {
      // Echoing a request back would hand a page the client's own headers.
      keepAlive_ = false;
      return writeRaw(
          "HTTP/1.1 405 Method Not Allowed\r\nAllow: DELETE, GET, POST, PUT\r\n"
          "Content-Length: 0\r\nConnection: close\r\n\r\n",
          true);
    }
    http_request request =
        http_request::_create_request(std::make_unique<Context>(shared_from_this()));
    request.set_method(std::string(m.method_string()));
    auto& headers = request.headers();
    for (const auto& field : m) {
      auto& value = headers[std::string(field.name_string())];
      if (!value.empty()) value.append(", ");
      value.append(field.value().data(), field.value().size());
    }
    auto impl = request._get_impl();
    impl->_set_remote_address(peer_);
    // Of an oversized chunked body, the part read so far goes at once.
    if (oversized) std::string().swap(m.body());
    bodySize_ = oversized ? 0 : m.body().size();
    impl->set_instream(concurrency::streams::bytestream::open_istream(
        oversized ? std::string() : std::move(m.body())));
    if (oversized) {
      // Handlers answer as they would, but there is no body to read.
      impl->_complete(0, std::make_exception_ptr(std::length_error("request body over the limit")));
    } else {
      impl->_complete(bodySize_);
    }
    waiting_ = true;
    web::uri uri;
    try {
      uri = web::uri(std::string(m.target()));
    } catch (const std::exception& e) {
      request.reply(web::http::status_codes::BadRequest, e.what());
      return;
    }
    std::string path;
    try {
      path = web::uri::decode(uri.path());
    } catch (const std::exception&) {
      request.reply(web::http::status_codes::BadRequest);
      return;
    }
    request.set_request_uri(uri);
    const bool served = port_->withListener(path, [&](http_listener_impl& listener) {
      request._set_listener_path(listener.uri().path());
      request._set_base_uri(listener.uri());
      try {
        listener.handle_request(request);
      } catch (...) {
        request._reply_if_not_already(web::http::status_codes::InternalError);
      }
    });
    if (!served) request.reply(web::http::status_codes::NotFound);
  }

  void write(http_response response, pplx::task_completion_event<void> sent) {
    if (!waiting_ || closed_) {
      sent.set();
      return;
    }
    waiting_ = false;
    reply_ = std::move(response);
    sent_ = sent;
    const uint8_t* data = nullptr;
    size_t size = 0;
    owned_.clear();
    if (reply_.body().is_valid()) {
      auto buffer = reply_.body().streambuf();
      uint8_t* in = nullptr;
      if (buffer.acquire(in, size)) {
        data = in;
      } else {
        // Not held in memory: read it here (replies of ours never take this way).
        std::array<uint8_t, 16384> chunk;
        size_t got;
        while ((got = buffer.getn(chunk.data(), chunk.size()).get()) > 0) {
          owned_.insert(owned_.end(), chunk.begin(), chunk.begin() + got);
        }
        data = owned_.data();
        size = owned_.size();
      }
    }
    std::string reason = reply_.reason_phrase();
    if (reason.empty()) {
      reason = std::string(
          beast::http::obsolete_reason(beast::http::int_to_status(reply_.status_code())));
    }
    reply_.headers().set_content_length(size);
    head_.clear();
    head_.append("HTTP/1.1 ")
        .append(std::to_string(reply_.status_code()))
        .append(" ")
        .append(reason);
    head_.append("\r\n");
    for (const auto& header : reply_.headers()) {
      if (beast::iequals(header.first, "Connection") ||
          beast::iequals(header.first, "Transfer-Encoding")) {
        continue;
      }
      head_.append(header.first).append(": ").append(header.second).append("\r\n");
    }
    if (!keepAlive_) head_.append("Connection: close\r\n");
    head_.append("\r\n");
    const std::array<net::const_buffer, 2> buffers{net::buffer(head_),
                                                   net::buffer(data, isHead_ ? 0 : size)};
    stream_.expires_after(kWriteTime);
    net::async_write(stream_, buffers,
                     [self = shared_from_this()](error_code ec, size_t) { self->written(ec); });
  }

  void written(error_code ec) {
    sent_.set();
    reply_ = http_response();
    owned_ = {};
    returnFreedMemory(bodySize_);
    bodySize_ = 0;
    if (ec) return shut();
    if (!keepAlive_) return linger();
    continued_ = false;
    reader_.next();
    deadlineSet_ = reader_.buffer().size() > 0;
    if (deadlineSet_) headDeadline_ = Clock::now() + kHeadTime;
    process();
  }

  // Stops sending, and drops what the client still sends for a moment, so
  // that the reply reaches it before the connection goes.
  void linger() {
    error_code ec;
    stream_.socket().shutdown(tcp::socket::shutdown_send, ec);
    stream_.expires_after(kLingerTime);
    drain();
  }
  void drain() {
    stream_.async_read_some(net::buffer(scratch_),
                            [self = shared_from_this()](error_code ec, size_t) {
                              if (ec) return self->shut();
                              self->drain();
                            });
  }

  void shut() {
    if (closed_) return;
    closed_ = true;
    error_code ec;
    stream_.socket().shutdown(tcp::socket::shutdown_both, ec);
    stream_.close();
  }

  beast::tcp_stream stream_;
  std::shared_ptr<Port> port_;
  std::string peer_;
  RequestReader reader_;
  Clock::time_point headDeadline_;
  bool deadlineSet_ = false;
  bool continued_ = false;
  bool waiting_ = false;  // a handler holds the current request
  bool closed_ = false;
  bool isHead_ = false;
  bool keepAlive_ = true;
  size_t bodySize_ = 0;
  http_response reply_;
  pplx::task_completion_event<void> sent_;
  std::string head_;
  std::vector<uint8_t> owned_;
  std::array<char, 4096> scratch_;
};

void Port::accepted(error_code ec, tcp::socket socket) {
  if (!ec) {
    if (nearDescriptorLimit(socket.native_handle())) {
      socket.close(ec);
    } else {
      std::make_shared<Session>(std::move(socket), shared_from_this())->start();
    }
  }
  std::lock_guard<std::mutex> lock(mutex_);
  if (!open_) return;
  if (!ec || ec == net::error::operation_aborted) return accept();
  // Out of descriptors or memory: try again shortly instead of spinning.
  retry_.expires_after(std::chrono::milliseconds(50));
  retry_.async_wait([self = shared_from_this()](error_code waited) {
    std::lock_guard<std::mutex> lock(self->mutex_);
    if (!waited && self->open_) self->accept();
  });
}

void Port::close() {
  std::vector<std::shared_ptr<Session>> live;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    open_ = false;
    error_code ec;
    acceptor_.close(ec);
    retry_.cancel();
    for (const auto& entry : sessions_) {
      if (auto session = entry.second.lock()) live.push_back(std::move(session));
    }
  }
  for (const auto& session : live) session->close();
}

// The ports, by host and port, and the listeners on them. It is never
// destroyed: the library's registry destroys its server as the process
// exits, while connections may still be finishing on the worker threads.
struct Ports {
  std::mutex mutex;
  std::map<std::string, std::shared_ptr<Port>> open;
};

std::string hostPort(const web::uri& uri) {
  return utility::conversions::str_tolower(web::uri::decode(uri.host())) + ":" +
         std::to_string(uri.port());
}

class Server : public http_server {
 public:
  explicit Server(Ports& ports) : ports_(ports) {}

  pplx::task<void> start() override { return pplx::task_from_result(); }
  pplx::task<void> stop() override { return pplx::task_from_result(); }

  // Listeners on one host and port share it, each with its own path.
  pplx::task<void> register_listener(http_listener_impl* listener) override {
    const web::uri& uri = listener->uri();
    if (uri.host() == kAnchorHost) return pplx::task_from_result();
    std::lock_guard<std::mutex> lock(ports_.mutex);
    auto& port = ports_.open[hostPort(uri)];
    if (!port) {
      auto fresh = std::make_shared<Port>();
      try {
        tcp::resolver resolver(io());
        const auto found =
            resolver.resolve(web::uri::decode(uri.host()), std::to_string(uri.port()));
        if (found.empty()) throw std::runtime_error("cannot resolve " + uri.host());
        fresh->bind(found.begin()->endpoint());  // throws when the port is taken
      } catch (...) {
        ports_.open.erase(hostPort(uri));
        throw;
      }
      port = std::move(fresh);
    }
    port->addListener(listener);
    return pplx::task_from_result();
  }

  pplx::task<void> unregister_listener(http_listener_impl* listener) override {
    std::shared_ptr<Port> port;
    {
      std::lock_guard<std::mutex> lock(ports_.mutex);
      auto it = ports_.open.find(hostPort(listener->uri()));
      if (it == ports_.open.end() || it->second->removeListener(listener)) {
        return pplx::task_from_result();
      }
      port = std::move(it->second);
      ports_.open.erase(it);
    }
    port->close();
    return pplx::task_from_result();
  }

  pplx::task<void> respond(http_response response) override {
    auto* context = dynamic_cast<Context*>(response._get_server_context());
    std::shared_ptr<Session> session = context ? context->session : nullptr;
    if (!session) return pplx::task_from_result();
    pplx::task_completion_event<void> sent;
    session->send(std::move(response), sent);
    return pplx::create_task(sent);
  }

 private:
  Ports& ports_;
};

bool install() {
  try {
    static Ports* const ports = new Ports;
    http_server_api::register_server_api(std::make_unique<Server>(*ports));
  } catch (const std::exception&) {
    return false;  // the host's listeners came first
  }
  // Never closed, never destroyed: without a listener the library drops its
  // server, and a reply on its way would find none.
  static http_listener* const anchor =
      new http_listener(web::uri(std::string("http://") + kAnchorHost + "/"));
  anchor->open().wait();
  return true;
}

}  // namespace

bool installServer() {
  static const bool installed = install();
  return installed;
}

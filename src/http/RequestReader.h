#pragma once

#include <cstddef>
#include <optional>

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

// How much of one request the service keeps. Nothing a client of ours sends
// comes near these; they bound what a stranger on the network can make the
// process hold.
struct RequestLimits {
  // The request line, and so the path and query: longer is answered 414.
  static constexpr size_t kLine = 16 * 1024;
  // All header fields together: more is answered 431.
  static constexpr size_t kHeaders = 64 * 1024;
  // A body (room for artwork data): a longer one is not kept, and the request
  // goes on without it.
  static constexpr size_t kBody = 32 * 1024 * 1024;
};

// Takes the requests of one connection apart as their bytes arrive: the
// connection reads into buffer() and calls step() until a request is ready,
// answers it, and calls next() for the one after, whose bytes may already be
// in the buffer (pipelining).
class RequestReader {
 public:
  using Message = boost::beast::http::request<boost::beast::http::string_body>;

  enum class Step {
    More,       // the request is not complete yet
    Ready,      // message() holds the whole request
    Oversized,  // message() holds its head; the body is over the limit
    Reject,     // malformed or over a head limit: answer rejectStatus(), close
  };

  RequestReader() { next(); }

  boost::beast::flat_buffer& buffer() { return buffer_; }
  Step step();
  Message& message() { return parser_->get(); }
  unsigned rejectStatus() const { return reject_; }
  bool headDone() const { return parser_->is_header_done(); }
  void next();

 private:
  boost::beast::flat_buffer buffer_;
  std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> parser_;
  unsigned reject_ = 0;
  size_t headBytes_ = 0;  // of the head, taken by the parser so far
  size_t lineBytes_ = 0;
};

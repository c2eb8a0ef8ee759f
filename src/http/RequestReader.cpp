#include "http/RequestReader.h"

#include <string_view>

namespace http = boost::beast::http;

void RequestReader::next() {
  parser_.emplace();
  // The head as a whole may hold a full request line and full fields; which
  // limit it broke is told apart in step().
  parser_->header_limit(
      static_cast<std::uint32_t>(RequestLimits::kLine + RequestLimits::kHeaders + 4));
  parser_->body_limit(RequestLimits::kBody);
  reject_ = 0;
  headBytes_ = 0;
  lineBytes_ = 0;
}

RequestReader::Step RequestReader::step() {
  if (reject_ != 0) return Step::Reject;
  auto fail = [this](unsigned status) {
    reject_ = status;
    return Step::Reject;
  };
  boost::system::error_code ec;
  if (!parser_->is_header_done()) {
    // The parser takes the request line only once all of it is here, and the
    // fields as they come.
    if (headBytes_ == 0) {
      const std::string_view bytes(static_cast<const char*>(buffer_.data().data()), buffer_.size());
      const size_t eol = bytes.find('\n');
      lineBytes_ = eol == std::string_view::npos ? bytes.size() : eol + 1;
      if (lineBytes_ > RequestLimits::kLine + 2) return fail(414);
    }
    const size_t used = parser_->put(buffer_.data(), ec);
    buffer_.consume(used);
    headBytes_ += used;
    if (headBytes_ > lineBytes_ + RequestLimits::kHeaders + 2) return fail(431);
    if (ec == http::error::need_more) return Step::More;
    if (ec == http::error::header_limit) return fail(431);
    // A declared length over the limit is refused as the head is read.
    if (ec == http::error::body_limit) return Step::Oversized;
    if (ec) return fail(400);
    if (!parser_->is_header_done()) return Step::More;
  }
  while (!parser_->is_done()) {
    // A chunked body ends with at least five bytes ("0\r\n\r\n") after
    // anything the parser leaves unread, and the parser must not see fewer
    // again once it has seen the last chunk's line.
    if (buffer_.size() == 0 || (parser_->chunked() && buffer_.size() < 5)) return Step::More;
    const size_t used = parser_->put(buffer_.data(), ec);
    buffer_.consume(used);
    if (ec == http::error::body_limit) return Step::Oversized;
    if (ec && ec != http::error::need_more) return fail(400);
    // Chunk data is taken as it comes; what waits unread is a chunk's line or
    // the trailer fields, which have no business being larger than a head.
    if (used == 0 && buffer_.size() > RequestLimits::kLine + RequestLimits::kHeaders) {
      return fail(400);
    }
    if (ec || used == 0) return Step::More;
  }
  return Step::Ready;
}

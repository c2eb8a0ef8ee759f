#pragma once

#include <string>

#include <cpprest/http_msg.h>

#include "host/ListenerHub.h"
#include "host/StrictMode.h"
#include "http/Replies.h"

// Files: a readable file named by the path itself is the host's to allow
// (`onPageServed`); anything else is looked up in the pages folder and never
// outside it; in strict mode, not through a symbolic link either.
class StaticPages {
 public:
  StaticPages(ListenerHub& hub, Replies& replies, const std::string& folder,
              const StrictMode& strict)
      : hub_(hub), replies_(replies), folder_(folder), strict_(strict) {}

  // False when the path names no file to serve: the router goes on.
  bool serveStaticPage(web::http::http_request& request, const std::string& decodedPath,
                       const std::string& contentType);

 private:
  // `file` names the page (for its caching); `opened` is what is read.
  void serveFile(web::http::http_request& request, const std::string& file,
                 const std::string& contentType, const std::string& opened);

  ListenerHub& hub_;
  Replies& replies_;
  const std::string& folder_;
  const StrictMode& strict_;
};

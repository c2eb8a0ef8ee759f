#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "http/Route.h"
#include "http/StaticPages.h"

// The one router: every request of every method comes here, is counted in
// until its reply is out, and is answered by the first matching row of the
// route tables of every area. Any failure a handler raises (a missing
// segment, a malformed number) ends here as a 500, and the service goes on.
class Router {
 public:
  Router(Units& units, StaticPages& pages);

  void handle(web::http::http_request request);
  void handle_get(web::http::http_request& request);
  void handle_post(web::http::http_request& request);
  // PUT and DELETE change nothing and succeed (in strict mode, for a paired
  // client only).
  void handle_put(web::http::http_request& request);
  void handle_delete(web::http::http_request& request);
  // Pages as GET answers them; nothing else.
  void handle_head(web::http::http_request& request);

  // Every row, in the order tried.
  static const RouteList& routes();

 private:
  const Route* find(const char* method, const RouteRequest& r) const;
  // In strict mode, answers 401 to a request without the token of a paired
  // client and returns true.
  bool refused(web::http::http_request& request, const RouteRequest& r);
  void send(web::http::http_request& request, Answer answer);

  Units& units_;
  StaticPages& pages_;
  // Rows by method and path; lower-cased paths for rows that ignore case.
  std::unordered_map<std::string, std::vector<const Route*>> exact_;
  std::unordered_map<std::string, std::vector<const Route*>> lower_;
};

#include "service/VeloraRestService.h"
#include "util/Support.h"

using web::http::http_request;
using web::http::status_codes;
using web::json::value;

void VeloraRestService::handle_get(http_request request) {
  const auto& uri = request.relative_uri();
  const std::string decodedPath = web::uri::decode(uri.path());
  const std::string contentType = getContentType(decodedPath);

  if (serveStaticPage(request, decodedPath, contentType)) return;

  returnFailure(request, decodedPath, status_codes::BadRequest);
}

void VeloraRestService::handle_post(http_request request) {
  const auto query = web::uri::split_query(request.relative_uri().query());
  if (query.find("token") == query.end()) {
    request.reply(status_codes::Forbidden);
    return;
  }
  request.reply(status_codes::OK);
}

void VeloraRestService::handle_put(http_request request) { request.reply(status_codes::OK); }

void VeloraRestService::handle_delete(http_request request) { request.reply(status_codes::OK); }

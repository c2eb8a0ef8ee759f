// The HTTP library on its own: a listener that answers every GET with one
// constant JSON string, on the same worker-pool size as the service. The
// HTTP benchmark puts the service's routes beside it to show what routing,
// listener callbacks and reply building cost on top of the library.
//
//   velora_bench_bare_listener PORT      (stops on SIGINT or SIGTERM)

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <cpprest/http_listener.h>
#include <cpprest/json.h>
#include <pplx/threadpool.h>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s PORT\n", argv[0]);
    return 2;
  }
  // Block the stop signals before any worker thread starts, so that only
  // sigwait below receives them.
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);

  // The service's pool size (see kWorkerThreads in the service's lifecycle).
  crossplat::threadpool::initialize_with_threads(8);

  web::uri_builder uri("http://127.0.0.1");
  uri.set_port(std::atoi(argv[1]));
  web::http::experimental::listener::http_listener listener(uri.to_uri());
  const web::json::value body = web::json::value::string("SUCCESS");
  listener.support(web::http::methods::GET, [&body](web::http::http_request request) {
    web::http::http_response response(web::http::status_codes::OK);
    response.set_body(body);
    request.reply(response);
  });
  listener.open().wait();
  std::printf("listening on %s\n", uri.to_string().c_str());
  std::fflush(stdout);

  int signal = 0;
  sigwait(&stop, &signal);
  listener.close().wait();
  return 0;
}

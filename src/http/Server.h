#pragma once

// The HTTP server behind the HTTP library's listeners, installed once before
// the first listener opens. The library's own server buffers a request of
// any size, stalls on pipelined requests, never times out a connection that
// sends nothing, echoes TRACE, and crashes now and then when a listener
// closes under load. This one reads requests with a parser that has limits
// (RequestReader), answers pipelined requests in order, closes a connection
// whose head takes over 10 s or that idles for 60 s after a reply, refuses
// connections at once when the process nears its descriptor limit, and
// closes a listener's port and connections without racing its handlers.
// Handlers see the library's own request and response types, unchanged.
//
// Returns false when the HTTP library was already serving listeners of the
// host's own: those keep the library's default server, and so do ours.
bool installServer();

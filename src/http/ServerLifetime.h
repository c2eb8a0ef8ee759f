#pragma once

// Makes closing and reopening a listener safe while clients keep connecting.
//
// The HTTP library runs one server for every listener of the process. Its
// close drops the acceptor and closes every connection from the closing
// thread, while the connections' own handlers may be writing on them; then
// it destroys the server when the last listener has gone. Under load either
// step crashes a worker thread now and then: an accept that completed just
// before the close runs on the freed server, a connection made by it answers
// with no server left, or a write starts on a socket freed under it.
//
// Installed once, before the first listener opens, this gives each listener
// a server of its own and closes it without any of that: the listening
// socket is swapped for an idle one (the port is free at once, and the
// library's pending accept just waits), the port's connections are shut
// down so that their own handlers end them, the library's stop then has
// nothing left to race, and the stopped server is kept, so that anything
// still queued for it meets live memory. A listener that
// never binds keeps the library's registry from emptying, so a reply always
// finds a server. Returns false when the HTTP library was already serving
// listeners of the host's own: those keep the library's default server.
bool keepServersAfterClose();

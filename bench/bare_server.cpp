// The HTTP library alone, set up as the agent sets it up, with one answer for every request: what
// the agent's pages are measured against.

#include <microhttpd.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

constexpr unsigned kThreads = 2;
constexpr unsigned kConnections = 514;
constexpr std::size_t kConnectionMemory = 64 * 1024;
constexpr unsigned kIdleSeconds = 60;

// The library writes these itself.
bool isWrittenByLibrary(std::string_view name) {
  return name == "Date" || name == "Content-Length" || name == "Connection";
}

/// The answer to repeat: an HTTP response as it came off the wire.
MHD_Response* readAnswer(const char* file) {
  std::ifstream in(file, std::ios::binary);
  const std::string raw(std::istreambuf_iterator<char>(in), {});
  const std::size_t end = raw.find("\r\n\r\n");
  if (end == std::string::npos) {
    throw std::runtime_error("no HTTP response in " + std::string(file));
  }
  const std::string body = raw.substr(end + 4);
  MHD_Response* const response = MHD_create_response_from_buffer(
      body.size(), const_cast<char*>(body.data()), MHD_RESPMEM_MUST_COPY);
  std::size_t line = raw.find("\r\n") + 2;
  while (line < end) {
    const std::size_t next = raw.find("\r\n", line);
    const std::size_t colon = raw.find(": ", line);
    const std::string name = raw.substr(line, colon - line);
    if (!isWrittenByLibrary(name)) {
      MHD_add_response_header(response, name.c_str(),
                              raw.substr(colon + 2, next - colon - 2).c_str());
    }
    line = next + 2;
  }
  return response;
}

int listenOnLoopback(std::uint16_t& port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const plain = reinterpret_cast<sockaddr*>(&address);
  if (listener < 0 || bind(listener, plain, size) != 0 || listen(listener, SOMAXCONN) != 0 ||
      getsockname(listener, plain, &size) != 0) {
    throw std::runtime_error("can't listen");
  }
  port = ntohs(address.sin_port);
  return listener;
}

// The library closes a connection whose answer comes with the first call.
MHD_Result answer(void* response, MHD_Connection* connection, const char* /*url*/,
                  const char* /*method*/, const char* /*version*/, const char* /*upload*/,
                  std::size_t* /*size*/, void** context) {
  if (*context == nullptr) {
    *context = response;
    return MHD_YES;
  }
  return MHD_queue_response(connection, MHD_HTTP_OK, static_cast<MHD_Response*>(response));
}

}  // namespace

/// bare_server FILE: prints its port, and serves until its standard input ends.
int main(int argc, char** argv) {
  try {
    if (argc != 2) {
      throw std::runtime_error("usage: bare_server FILE");
    }
    MHD_Response* const response = readAnswer(argv[1]);
    std::uint16_t port = 0;
    const int listener = listenOnLoopback(port);
    MHD_Daemon* const daemon = MHD_start_daemon(
        MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0, nullptr,
        nullptr, &answer, response,                             //
        MHD_OPTION_LISTEN_SOCKET, listener,                     //
        MHD_OPTION_THREAD_POOL_SIZE, kThreads,                  //
        MHD_OPTION_CONNECTION_LIMIT, kConnections,              //
        MHD_OPTION_PER_IP_CONNECTION_LIMIT, kConnections,       //
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemory,  //
        MHD_OPTION_CONNECTION_TIMEOUT, kIdleSeconds,            //
        MHD_OPTION_STRICT_FOR_CLIENT, 1,                        //
        MHD_OPTION_END);
    if (daemon == nullptr) {
      throw std::runtime_error("the server does not start");
    }
    std::printf("%u\n", unsigned{port});
    std::fflush(stdout);
    char ignored;
    while (read(STDIN_FILENO, &ignored, 1) > 0) {
    }
    MHD_stop_daemon(daemon);
    MHD_destroy_response(response);
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
  }
}

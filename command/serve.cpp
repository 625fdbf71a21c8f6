// zar serve: answers requests about policies, on standard input and output or on a Unix socket.
#include <sys/resource.h>

#include <algorithm>
#include <stdexcept>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/serve_front.h"
#include "simulator/service/methods.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

constexpr uint32_t kMostSize = uint32_t{1} << 30U;
constexpr uint32_t kMostTime = 86'400;
constexpr uint32_t kMostConnections = 1000;
// Descriptors of a connection: its own, and the channels to its processes.
constexpr rlim_t kDescriptors = 4;
constexpr rlim_t kOtherDescriptors = 64;

void allow_descriptors(uint32_t connections) {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = std::min(limit.rlim_max, std::max(limit.rlim_cur, connections * kDescriptors + kOtherDescriptors));
  setrlimit(RLIMIT_NOFILE, &limit);
}

std::string describe() {
  return concat(
      "Speaks JSON-RPC 2.0, one message in a line. Each connection has a session of its own:\n"
      "what it loads, and the attributes of its targets. Methods with their parameters:\n\n",
      service::describe_methods(),
      "\nExit code 0: the client has ended, or a signal (SIGTERM, SIGINT) ended the server.\n\n"
      "Examples:\n"
      "  zar serve policy.yaml --socket /run/user/1000/zar --log requests.jsonl\n"
      "  echo '{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"version\"}' | zar serve");
}

class ServeCommand final : public Command {
 public:
  explicit ServeCommand(const char *version) : version_(version) {}

  const char *name() const override { return "serve"; }
  const char *summary() const override { return "Answer requests of other programs about policies"; }

  void declare(Options &options) override {
    options.argument("FILE", path_, "A policy file that each session begins with");
    options.option("--socket", "PATH", socket_, "Listen on this Unix socket instead of standard input and output");
    options.option("--log", "FILE", log_, "Append a line to this file for each request and connection");
    options.number("--time-limit", "SECONDS", time_limit_, kMostTime, "Time for a request (60)");
    options.number("--size-limit", "BYTES", size_limit_, kMostSize, "Size of a request (16777216)");
    options.number("--connections", "N", connections_, kMostConnections, "Connections at a time (64)");
    options.need("--connections", "--socket");
    options.epilogue(describe);
  }

  int run() override {
    if (path_ == "-") {
      complain("standard input is for requests");
      return kUsage;
    }
    if (time_limit_ == 0 || size_limit_ == 0 || connections_ == 0) {
      complain("a limit of 0 allows nothing");
      return kUsage;
    }
    return work_on_one([&] { return serve(); });
  }

 private:
  int serve() const {
    ServeShared shared{.size_limit = size_limit_, .time_limit = std::chrono::seconds(time_limit_)};
    if (path_) {
      Loaded loaded = load_path(*path_);
      report(loaded.diagnostics, loaded.source);
      if (!loaded.file) return kBadFile;
      shared.file = std::move(loaded.source);
    }
    try {
      return serve(shared);
    } catch (const std::runtime_error &error) {
      complain(error.what());
      return kInternal;
    }
  }

  int serve(ServeShared &shared) const {
    allow_descriptors(connections_);
    ServeLog log(log_);
    shared.log = &log;
    shared.setup.version = version_;
    shared.setup.size_limit = size_limit_;
    ServeFront front(shared, connections_);
    if (socket_.empty()) {
      front.serve_standard_streams();
    } else {
      const ListeningSocket socket(socket_);
      front.serve_socket(socket);
    }
    return kSuccess;
  }

  std::string version_;
  std::optional<std::string> path_;
  std::string socket_;
  std::string log_;
  uint32_t time_limit_ = 60;
  uint32_t size_limit_ = uint32_t{16} << 20U;
  uint32_t connections_ = 64;
};

}  // namespace

std::unique_ptr<Command> make_serve_command(const char *version) {
  return std::make_unique<ServeCommand>(version);
}

}  // namespace command

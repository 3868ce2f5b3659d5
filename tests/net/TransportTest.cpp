// The stream of a Transport, with peers that speak, are silent, drip or vanish. Nothing here handles or ignores
// SIGPIPE: a signal would end the process.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include "net/Bytes.h"
#include "net/ReadProgress.h"
#include "net/Transport.h"
#include "support/ScriptedServer.h"

namespace keystrand {
namespace {

using test::ScriptedServer;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using Then = ScriptedServer::Then;
using Dialogue = ScriptedServer::Dialogue;

double durationOf(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// Never less, and an end on the busiest machine.
MATCHER_P(Lasts, seconds, "") {
  constexpr double kGrace = 60;
  return arg > seconds - 0.01 && arg < seconds + kGrace;
}

class Connection : public Transport {
 public:
  explicit Connection(const ScriptedServer& server, std::int64_t timeout = kDefaultTimeout) {
    setTimeout(timeout);
    EXPECT_EQ(connect(kLoopback, server.port()), 0);
  }
};

TEST(Transport, CarriesBytesBothWays) {
  const std::string answer(5000, 'x');
  const std::string question = "Content-Length: 3000\r\n\r\n" + std::string(3000, 'r');
  ScriptedServer server({{answer}});
  Transport transport;
  EXPECT_EQ(transport.write(bytesOf("x")), kSocketError) << "not connected";
  ASSERT_EQ(transport.connect("localhost", server.port()), 0);
  EXPECT_EQ(transport.peerAddress(), kLoopback);
  EXPECT_EQ(transport.connect(kLoopback, server.port()), kSocketError) << "connected already";
  Buffer buffer(4096);
  buffer.append(bytesOf(question).data(), 3024);
  EXPECT_EQ(transport.write(buffer, 3025), kSocketError) << "more than there is";
  EXPECT_EQ(transport.write(buffer, 24), 0);
  EXPECT_EQ(transport.write(buffer, 3000), 0);
  EXPECT_TRUE(buffer.atEnd());

  buffer.reset();
  EXPECT_EQ(transport.read(buffer, 4097), kSocketError) << "more than there is room";
  EXPECT_EQ(transport.read(buffer, 4096), 0);
  EXPECT_EQ(transport.read(buffer, 1), kSocketError) << "no room";
  unsigned char rest[2000] = {};
  EXPECT_EQ(transport.readExact(std::span(rest).first(4)), 0);
  std::size_t length = sizeof rest;
  EXPECT_EQ(transport.readSome(rest, length), 0);
  EXPECT_EQ(length, 900U) << "until the peer closes";
  EXPECT_EQ(transport.readExact(std::span(rest).first(1)), kSocketError);
  EXPECT_EQ(textOf(buffer.range(0, 4096)) + "xxxx" + textOf(std::span(rest).first(length)), answer);
  EXPECT_THAT(server.requests(), ElementsAre(question));
}

TEST(Transport, WhoCannotBeReached) {
  struct Row {
    const char* host;
    int error;
  };
  const std::uint16_t nobody = test::freePort();
  for (const Row& row : {Row{kLoopback, ECONNREFUSED}, Row{"localhost", ECONNREFUSED}, Row{"", kSocketError},
                         Row{"1.2.3.4.5", kSocketError}, Row{"256.1.1.1", kSocketError}, Row{".", kSocketError},
                         Row{"no-such-host.invalid", kSocketError}, Row{"::1", kSocketError}}) {
    Transport transport;
    EXPECT_EQ(transport.connect(row.host, nobody), row.error) << row.host;
    EXPECT_FALSE(transport.isConnected()) << row.host;
  }
}

// A queue of one client, already there, lets the next ones wait for ever.
TEST(Transport, ADeadServerCostsOneTimeout) {
  const test::Descriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(listen(listener.get(), 0), 0);
  Transport first;
  ASSERT_EQ(first.connect(kLoopback, test::portOf(listener)), 0);
  Transport second;
  second.setTimeout(1);
  EXPECT_THAT(durationOf([&] { EXPECT_EQ(second.connect(kLoopback, test::portOf(listener)), kSocketError); }),
              Lasts(1));
  EXPECT_FALSE(second.isConnected());
  EXPECT_EQ(localAddressFor("localhost"), kLoopback) << "the own one on the way there";
  EXPECT_EQ(localAddressFor("no-such-host.invalid"), "");
}

TEST(Transport, SilentAndDrippingPeersAreWaitedForAsLongAsTold) {
  struct Row {
    const char* name;
    std::int64_t timeout;
    Then peer;
    std::function<int(Transport&)> work;
    int error;
    double seconds;
  };
  static const std::vector<unsigned char> block(64 << 20);
  const auto readExact = [](Transport& t) {
    std::array<unsigned char, 2000> bytes{};
    return t.readExact(bytes);
  };
  const auto read = [](Transport& t) {
    Buffer buffer(4000);
    return t.read(buffer, 2000);
  };
  const auto readSome = [](Transport& t) {
    std::array<unsigned char, 2000> bytes{};
    std::size_t length = bytes.size();
    return t.readSome(bytes, length);
  };
  const auto limited = [](int timeouts, const auto& work) {
    return [=](Transport& t) {
      const Transport::Limit limit(t, timeouts);
      return work(t);
    };
  };
  const auto write = [](Transport& t) { return t.write(block); };
  const Row rows[] = {
      {"silence", 1, Then::silence, readExact, kSocketTimeout, 1},
      {"not a moment", 0, Then::silence, readExact, kSocketTimeout, 0},
      {"a negative timeout is none", -2, Then::silence, readExact, kSocketTimeout, 0},
      {"of a long timeout the low word counts", 1LL << 32 | 1, Then::silence, readExact, kSocketTimeout, 1},
      {"what came is no failure", 1, Then::silence, readSome, 0, 1},
      {"a second wait", 1, Then::silence, read, kSocketTimeout, 2},
      {"a second wait of a second", 0, Then::silence, read, kSocketTimeout, 1},
      {"also under a limit", 0, Then::silence, limited(10, read), kSocketTimeout, 1},
      {"drip", 1, Then::drip, limited(2, readExact), kSocketTimeout, 2},
      {"drip for the patient", 1, Then::drip, limited(2, read), kSocketTimeout, 2},
      {"drip gathered", 1, Then::drip, limited(2, readSome), 0, 2},
      {"a peer that does not read", 1, Then::silence, write, EAGAIN, 1},
  };
  std::vector<std::thread> readers;  // side by side, since each takes its time
  for (const Row& row : rows)
    readers.emplace_back([&row] {
      const ScriptedServer server(Dialogue{{{0, "a"}}, row.peer});
      Connection transport(server, row.timeout);
      EXPECT_THAT(durationOf([&] { EXPECT_EQ(row.work(transport), row.error) << row.name; }), Lasts(row.seconds))
          << row.name;
      EXPECT_TRUE(transport.isConnected()) << row.name;
    });
  for (std::thread& reader : readers) reader.join();
}

TEST(Transport, SignalsNeitherEndAWaitNorLengthenIt) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 10'000}, {0, 10'000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  const ScriptedServer server(Dialogue{{{0, "a"}}, Then::silence});
  Connection transport(server, 1);
  unsigned char bytes[2];
  EXPECT_THAT(durationOf([&] { EXPECT_EQ(transport.readExact(bytes), kSocketTimeout); }), Lasts(1));
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
}

TEST(Transport, APeerThatVanishesRaisesNoSignal) {
  const std::string much(1 << 20, 'x');
  for (const Then then : {Then::close, Then::reset}) {
    const ScriptedServer server(Dialogue{{{1, "a"}}, then});
    Connection transport(server);
    std::FILE* file = transport.localFile();
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(std::fputs("?", file), 1);
    ASSERT_EQ(std::fflush(file), 0) << "the way to the peer";
    unsigned char bytes[2];
    EXPECT_THAT(transport.readExact(bytes), AnyOf(kSocketError, ECONNRESET));
    EXPECT_THAT(transport.write(bytesOf(much)), AnyOf(EPIPE, ECONNRESET));
    EXPECT_EQ(transport.write(bytesOf(much)), EPIPE);
    EXPECT_EQ(std::fputs(much.c_str(), file), EOF);
    EXPECT_EQ(errno, EPIPE);
    std::fclose(file);
  }
  EXPECT_EQ(Transport().localFile(), nullptr);
}

TEST(Transport, WorksAmongThousandsOfDescriptors) {
  constexpr rlim_t kMany = 3000;
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_max < kMany) GTEST_SKIP() << "descriptors are limited";
  limit.rlim_cur = limit.rlim_max;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  std::vector<test::Descriptor> others;
  for (int i = 0; i < 2000; ++i) others.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
  ASSERT_GT(others.back().get(), 1024);

  const std::uint16_t port = test::freePort();
  Transport listener;
  ASSERT_EQ(listener.listen(port), 0);
  Transport client;
  ASSERT_EQ(client.connect(kLoopback, port), 0);
  ASSERT_EQ(Transport::selectListeners(20), &listener);
  ASSERT_EQ(listener.accept(), 0);
  EXPECT_EQ(listener.write(bytesOf("x")), 0);
  unsigned char byte = 0;
  EXPECT_EQ(client.readExact({&byte, 1}), 0);
  client.setTimeout(0);
  EXPECT_EQ(client.readExact({&byte, 1}), kSocketTimeout);
}

// --- progress

struct Progress {
  std::vector<std::string> reports;
  unsigned char answer = 1;

  static unsigned char hear(std::uint32_t, int stage, std::uint32_t length, std::uint32_t done, void* user) {
    auto& self = *static_cast<Progress*>(user);
    self.reports.push_back(std::to_string(stage) + " " + std::to_string(length) + " " + std::to_string(done));
    return self.answer;
  }
};

TEST(Transport, ProgressIsToldAndCanStopAllReading) {
  const ScriptedServer server(Dialogue{{{0, std::string(2000, 'x')}, {1, std::string(100, 'x')}}, Then::silence});
  Connection transport(server);
  unsigned char bytes[2000];
  std::size_t all = sizeof bytes;
  ASSERT_EQ(transport.readSome(bytes, all), 0);
  ASSERT_EQ(transport.write(bytesOf("?")), 0);

  Progress progress;
  ReadProgress::set(&Progress::hear, &progress, 10);
  EXPECT_EQ(transport.readExact(std::span(bytes).first(10)), 0);
  EXPECT_THAT(progress.reports, ElementsAre());
  EXPECT_EQ(transport.readExact(std::span(bytes).first(11)), 0);
  EXPECT_THAT(progress.reports, ElementsAre("1 11 0", "0 11 11", "2 11 11"));

  progress = {{}, 0};
  Buffer buffer(20);
  EXPECT_EQ(transport.read(buffer, 20), kSocketTimeout);
  EXPECT_THAT(progress.reports, ElementsAre("1 20 0", "0 20 20"));
  ReadProgress::set(nullptr, nullptr, 0);
  EXPECT_EQ(transport.readExact(std::span(bytes).first(1)), kSocketTimeout);
  EXPECT_EQ(Transport().connect(kLoopback, server.port()), kSocketError);
  ReadProgress::resume();
  EXPECT_EQ(transport.readExact(std::span(bytes).first(1)), 0);
}

// --- listening and datagrams

TEST(TransportListener, HandsEachClientOn) {
  const std::uint16_t port = test::freePort();
  EXPECT_EQ(Transport::selectListeners(0), nullptr) << "nobody listens";
  Transport idle;
  Transport listener;
  listener.setReuseAddress(1);
  ASSERT_EQ(idle.listen(0), 0);
  ASSERT_EQ(listener.listen(port), 0);
  EXPECT_EQ(listener.listen(port), kSocketError) << "listens already";
  EXPECT_EQ(listener.connect(kLoopback, port), kSocketError) << "a listener is no client";
  Transport other;
  EXPECT_EQ(other.listen(port), EADDRINUSE);
  EXPECT_THAT(durationOf([] { EXPECT_EQ(Transport::selectListeners(1), nullptr); }), Lasts(1));

  for (const char* name : {"first", "second"}) {
    Transport client;
    ASSERT_EQ(client.connect(kLoopback, port), 0);
    EXPECT_EQ(Transport::selectListeners(kNoTimeout), &listener);
    ASSERT_EQ(listener.accept(), 0);
    EXPECT_EQ(listener.accept(), kSocketError) << "the last client is still there";
    Transport worker(std::move(listener));
    EXPECT_EQ(worker.peerAddress(), kLoopback);
    EXPECT_EQ(worker.write(bytesOf(name)), 0);
    worker.close();
    unsigned char bytes[20];
    std::size_t length = sizeof bytes;
    EXPECT_EQ(client.readSome(bytes, length), 0);
    EXPECT_EQ(textOf(std::span(bytes).first(length)), name);
  }
}

TEST(TransportListener, ClosingWakesWhoWaits) {
  Transport listener;
  ASSERT_EQ(listener.listen(0), 0);
  std::thread waiting([] { EXPECT_EQ(Transport::selectListeners(0), nullptr); });
  listener.closeListener();
  waiting.join();
}

}  // namespace
}  // namespace keystrand

// The methods of zar serve on a session, without a server, and the messages that a server hands on.
#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/messages/envelope.h"
#include "simulator/messages/lines.h"
#include "simulator/service/methods.h"
#include "simulator/service/service.h"
#include "simulator/text/interruption.h"
#include "tests/simulator/policy.h"

namespace {

using simulator::Interrupted;
using simulator::Json;
using simulator::Source;
using simulator::messages::Envelope;
using simulator::messages::Envelopes;
using simulator::messages::LineFramer;
using simulator::messages::MessageLine;
using simulator::messages::open;
using simulator::service::Answered;
using simulator::service::Method;
using simulator::service::Place;
using simulator::service::Service;

constexpr const char *kPolicy = R"(domains: {d: }
class-maps: {gold: {filters: [{attribute: tier, equals: gold}]}}
policy-maps:
  p: {events: {start: {rules: [{number: 1, class: gold, actions: [{count: starts}, permit]}]}}}
targets:
  t: {attributes: {tier: gold}, policies: [p]}
)";

// A service that lives as long as its test. At its end nothing is left.
class AService : public testing::Test {
 protected:
  ~AService() override {
    simulator::interruption::withdraw();
    EXPECT_EQ(test::joined(service_.end()), "");
  }

  Json response(const std::string &method, Json params = Json::object()) {
    const Json call = {{"jsonrpc", "2.0"}, {"id", 1}, {"method", method}, {"params", std::move(params)}};
    const Answered answered = service_.answer(call.dump(), {{"requests", 5}});
    const Json response = Json::parse(answered.text);
    EXPECT_EQ(answered.code, response.contains("error") ? response["error"]["code"].get<int>() : 0);
    return response;
  }
  Json ask(const std::string &method, Json params = Json::object()) {
    const Json answer = response(method, std::move(params));
    EXPECT_TRUE(answer.contains("result")) << answer;
    return answer.value("result", Json());
  }
  int code_of(const std::string &method, Json params = Json::object()) {
    return response(method, std::move(params))["error"]["code"].get<int>();
  }
  void load() { ask("load", {{"text", kPolicy}}); }

  size_t worked_apart_ = 0;
  bool apart_ends_early_ = false;
  // The work apart takes the session down, as only a copy of a process can afford.
  Service service_{{.version = "test",
                    .clock = [](uint32_t) { return [] { return true; }; },
                    .apart = [this](const std::function<Answered()> &work) -> std::optional<Answered> {
                      ++worked_apart_;
                      if (apart_ends_early_) return std::nullopt;
                      return work();
                    }}};
};

TEST_F(AService, KnowsNothingUntilAFileIsLoaded) {
  const Json event = {{"event", "start"}, {"target", "t"}};
  for (const char *method : {"raise", "explain"})
    EXPECT_EQ(code_of(method, event), 3) << method;
  EXPECT_EQ(code_of("targets.add", {{"target", "t"}, {"policies", {"p"}}}), 3);
  for (const char *method : {"set", "targets.delete"})
    EXPECT_EQ(code_of(method, {{"target", "t"}}), 3) << method;
  for (const char *method : {"show", "config", "lint", "test", "diff"})
    EXPECT_EQ(code_of(method), 3) << method;
  EXPECT_EQ(worked_apart_, 0U);
  EXPECT_EQ(code_of("check"), 3);
  EXPECT_EQ(ask("version"), Json({{"version", "test"}, {"protocol", 1}}));
  EXPECT_EQ(ask("stats")["session"]["file"], nullptr);
}

TEST_F(AService, RaisesExplainsAndSets) {
  load();
  const Json event = {{"event", "start"}, {"target", "t"}};
  EXPECT_EQ(ask("explain", event)["explanation"]["verdict"], "permit");
  EXPECT_EQ(ask("set", {{"target", "t"}})["attributes"], Json({{"tier", "gold"}}));
  EXPECT_EQ(ask("raise", event)["explanation"]["verdict"], "permit");
  EXPECT_EQ(ask("set", {{"target", "t"}})["attributes"], Json({{"starts", "1"}, {"tier", "gold"}}));
  const Json changed = ask("set", {{"target", "t"}, {"clear", {"starts"}}, {"set", {{"tier", 7}}}});
  EXPECT_EQ(changed["attributes"], Json({{"tier", "7"}}));
  EXPECT_EQ(ask("raise", event)["explanation"]["verdict"], "none");
}

TEST_F(AService, AddsAndDeletesTargets) {
  load();
  const Json added =
      ask("targets.add", {{"target", "u"}, {"policies", {"p"}}, {"attributes", {{"tier", "a \"b\" \n"}}}});
  EXPECT_EQ(added, Json({{"target", "u"}, {"attributes", {{"tier", "a \"b\" \n"}}}, {"policies", {"p"}}}));
  EXPECT_EQ(code_of("targets.add", {{"target", "u"}, {"policies", {"p"}}}), 2);
  EXPECT_EQ(code_of("targets.add", {{"target", "v"}}), -32602);
  EXPECT_EQ(code_of("targets.add", {{"target", "v"}, {"policies", Json::array()}}), 2);
  ask("targets.delete", {{"target", "u"}});
  EXPECT_EQ(code_of("targets.delete", {{"target", "u"}}), 2);
}

TEST_F(AService, CountsEventsAndKeepsTheFiguresOfTheServer) {
  load();
  for (int i = 0; i < 3; ++i)
    ask("raise", {{"event", "start"}, {"target", "t"}});
  const Json stats = ask("stats");
  EXPECT_EQ(stats["requests"], 5);
  EXPECT_EQ(stats["session"], Json({{"events", 3}, {"targets", 1}, {"file", "<text>"}}));
}

TEST_F(AService, WorksApartWhereAnotherRepositoryIsNeeded) {
  for (const char *method : {"check", "show", "config", "lint", "test"}) {
    load();
    const size_t before = worked_apart_;
    EXPECT_TRUE(ask(method).is_object()) << method;
    EXPECT_EQ(worked_apart_, before + 1) << method;
    service_.end();
  }
  load();
  EXPECT_EQ(ask("diff", {{"text", kPolicy}})["changes"], Json::array());
}

TEST_F(AService, SurvivesWorkThatEndsEarly) {
  load();
  apart_ends_early_ = true;
  EXPECT_EQ(code_of("lint"), -32603);
  EXPECT_EQ(ask("set", {{"target", "t"}})["attributes"]["tier"], "gold");
}

TEST_F(AService, LoadsOnce) {
  EXPECT_EQ(code_of("load", {{"text", "clients: 7"}}), 1);
  EXPECT_EQ(code_of("load", {{"path", "/nowhere"}}), 1);
  load();
  EXPECT_EQ(code_of("load", {{"text", kPolicy}}), -32603) << "the server gives each load a service of its own";
  EXPECT_EQ(ask("set", {{"target", "t"}})["target"], "t");
}

TEST_F(AService, LetsAnInterruptionThrough) {
  simulator::interruption::request();
  EXPECT_THROW(response("load", {{"text", kPolicy}}), Interrupted);
  simulator::interruption::withdraw();
  load();
}

TEST_F(AService, AnswersNoNotification) {
  load();
  const Answered done =
      service_.answer(R"({"jsonrpc":"2.0","method":"raise","params":{"event":"start","target":"t"}})", {});
  EXPECT_EQ(done.text, "");
  EXPECT_EQ(done.code, 0);
  const Answered refused = service_.answer(R"({"jsonrpc":"2.0","method":"rise"})", {});
  EXPECT_EQ(refused.text, "");
  EXPECT_EQ(refused.code, -32601);
  EXPECT_EQ(ask("stats")["session"]["events"], 1);
}

TEST(Methods, AreDescribedByOneTable) {
  const std::string text = simulator::service::describe_methods();
  for (const Method &method : simulator::service::methods()) {
    EXPECT_EQ(simulator::service::find_method(method.name), &method);
    EXPECT_NE(text.find(method.name), std::string::npos);
    EXPECT_NE(text.find(method.help), std::string::npos);
    EXPECT_EQ(method.place == Place::anew, method.name == "load");
  }
  EXPECT_EQ(simulator::service::find_method("Load"), nullptr);
}

// ---- Lines ----------------------------------------------------------------------------------------------------------------------

std::vector<std::string> lines_of(const std::string &stream, size_t piece, size_t most) {
  LineFramer framer(most);
  std::vector<std::string> lines;
  const auto take = [&](const MessageLine &line) { lines.push_back(line.is_too_long ? "(too long)" : line.text); };
  for (size_t at = 0; at < stream.size(); at += piece) {
    framer.append(std::string_view(stream).substr(at, piece));
    while (const std::optional<MessageLine> line = framer.next())
      take(*line);
    EXPECT_LE(framer.size(), std::max(most + 1, piece));
  }
  if (const std::optional<MessageLine> line = framer.last()) take(*line);
  return lines;
}

TEST(LineFraming, FindsLinesHoweverTheBytesArrive) {
  const std::string stream = "one\n\n  \r\ntwo\r\n" + std::string(8, 'a') + "\n" + std::string(8, 'b') + "\r\n" +
                             std::string(9, 'c') + "\n" + std::string(100, 'd') + "\nthree\n" + "last";
  const std::vector<std::string> expected = {"one",        "two",        "aaaaaaaa", "bbbbbbbb",
                                             "(too long)", "(too long)", "three",    "last"};
  for (size_t piece = 1; piece <= stream.size(); ++piece)
    EXPECT_EQ(lines_of(stream, piece, 8), expected) << "in pieces of " << piece;
  EXPECT_EQ(lines_of(std::string(50, 'x'), 3, 8), std::vector<std::string>{"(too long)"});
}

// ---- Envelopes ------------------------------------------------------------------------------------------------------------------

TEST(Envelopes, HoldTheCallsOfATextAndWhatTheyAskFor) {
  const std::string text =
      R"( [{"id":1,"params":{"id":"x","more":{"id":2}},"method":"cancel"}, 7 ,[{"id":3}],{"id":{}},{"id":null,"method":"a\u0062"}] )";
  const Envelopes found = open(text);
  ASSERT_FALSE(found.failure);
  EXPECT_TRUE(found.is_batch);
  ASSERT_EQ(found.calls.size(), 5U);
  EXPECT_EQ(found.calls[0].text, R"({"id":1,"params":{"id":"x","more":{"id":2}},"method":"cancel"})");
  EXPECT_EQ(found.calls[0].id, Json(1));
  EXPECT_EQ(found.calls[0].param_id, Json("x"));
  EXPECT_EQ(found.calls[0].method, "cancel");
  EXPECT_EQ(found.calls[1].text, "");
  EXPECT_EQ(found.calls[2].text, "");
  EXPECT_EQ(found.calls[3].text, R"({"id":{}})");
  EXPECT_FALSE(found.calls[3].id);
  EXPECT_EQ(found.calls[4].id, Json(nullptr));
  EXPECT_EQ(found.calls[4].method, "ab");
}

TEST(Envelopes, TakeTheLastOfSeveralMembersAsParsingDoes) {
  const Envelopes found = open(R"({"method":"a","id":1,"method":"b","id":2})");
  EXPECT_EQ(found.calls[0].method, "b");
  EXPECT_EQ(found.calls[0].id, Json(2));
  EXPECT_EQ(open(R"({"params":{"id":1},"params":[{"id":2}]})").calls[0].param_id, std::nullopt);
  EXPECT_EQ(open(R"({"method":"a","id":1,"method":7,"id":true})").calls[0].method, "");
  EXPECT_EQ(open(R"({"method":"a","id":1,"method":7,"id":true})").calls[0].id, std::nullopt);
}

TEST(Envelopes, RefuseWhatIsNoRequestAsAWhole) {
  const auto code_of = [](const std::string &text) { return open(text).failure->code; };
  for (const char *text : {"", "{", "{} {}", "[{},", "\xff", "nothing", "{\"a\":1e999}"})
    EXPECT_EQ(code_of(text), -32700) << text;
  for (const char *text : {"[]", "7", "\"text\"", "null", "true"})
    EXPECT_EQ(code_of(text), -32600) << text;
  std::string many = "[1";
  for (size_t i = 1; i < simulator::messages::kMostCalls; ++i)
    many += ",1";
  EXPECT_EQ(open(many + "]").calls.size(), simulator::messages::kMostCalls);
  EXPECT_EQ(code_of(many + ",1]"), -32600);
  const std::string deep(1'000'000, '[');
  EXPECT_EQ(code_of(deep), -32700);
  EXPECT_EQ(open(deep + std::string(deep.size(), ']')).calls.size(), 1U);
}

}  // namespace

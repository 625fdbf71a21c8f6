// Messages in a stream of bytes, and JSON-RPC.
#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "simulator/messages/framing.h"
#include "simulator/messages/jsonrpc.h"

namespace {

using simulator::Json;
using simulator::messages::Answer;
using simulator::messages::Call;
using simulator::messages::ErrorCode;
using simulator::messages::framed;
using simulator::messages::Framer;
using simulator::messages::Malformed;
using simulator::messages::Message;
using simulator::messages::parse;

std::vector<std::string> all_of(Framer &framer) {
  std::vector<std::string> all;
  while (const std::optional<std::string> message = framer.next())
    all.push_back(*message);
  return all;
}

TEST(Framing, FindsMessagesHoweverTheBytesArrive) {
  const std::string stream =
      framed("one") + framed("") + "Content-Type: x\r\ncontent-length:\t5 \r\n\r\nthree" + framed("\r\n\r\n");
  const std::vector<std::string> expected = {"one", "", "three", "\r\n\r\n"};
  for (size_t piece = 1; piece <= stream.size(); ++piece) {
    Framer framer;
    std::vector<std::string> found;
    for (size_t at = 0; at < stream.size(); at += piece) {
      framer.append(std::string_view(stream).substr(at, piece));
      const std::vector<std::string> more = all_of(framer);
      found.insert(found.end(), more.begin(), more.end());
    }
    EXPECT_EQ(found, expected) << "in pieces of " << piece;
    EXPECT_TRUE(framer.is_between_messages());
    EXPECT_EQ(framer.error(), "");
  }
}

TEST(Framing, StopsAtTheFirstErrorAndSaysWhatIsWrong) {
  const std::pair<std::string, std::string> cases[] = {
      {"Content-Length: 1x\r\n\r\na", "the Content-Length \"1x\" is no number"},
      {"Content-Length: -1\r\n\r\na", "the Content-Length \"-1\" is no number"},
      {"Content-Length:\r\n\r\na", "the Content-Length \"\" is no number"},
      {"Content-Length: 67108865\r\n\r\n", "a message of 67108865 bytes; at most 67108864 are accepted"},
      {"\r\n\r\n", "the head of a message has no Content-Length"},
      {"GET /\r\n\r\n", "the head of a message has the line \"GET /\""},
      {std::string(4097, 'x'), "the head of a message is longer than 4096 bytes"},
  };
  for (const auto &[bytes, error] : cases) {
    Framer framer;
    framer.append(bytes);
    EXPECT_EQ(framer.next(), std::nullopt);
    EXPECT_EQ(framer.error(), error);
    framer.append(framed("good"));
    EXPECT_EQ(framer.next(), std::nullopt);
  }
}

TEST(JsonRpc, TellsRequestsNotificationsAndAnswersApart) {
  const Message request = parse(R"({"jsonrpc":"2.0","id":7,"method":"m","params":[1]})");
  EXPECT_EQ(std::get<Call>(request).id, Json(7));
  EXPECT_EQ(std::get<Call>(request).params, Json::array({1}));
  const Message notification = parse(R"({"jsonrpc":"2.0","method":"m"})");
  EXPECT_FALSE(std::get<Call>(notification).id);
  EXPECT_TRUE(std::get<Call>(notification).params.is_null());
  EXPECT_EQ(std::get<Answer>(parse(R"({"jsonrpc":"2.0","id":"a","result":null})")).id, "a");
  EXPECT_EQ(std::get<Answer>(parse(R"({"jsonrpc":"2.0","id":1,"error":{"code":1}})")).error, Json({{"code", 1}}));
}

TEST(JsonRpc, AnswersWhatItCannotUnderstand) {
  const auto code_for = [](const std::string &text) {
    return std::get<Malformed>(parse(text)).response["error"]["code"].get<int>();
  };
  EXPECT_EQ(code_for("{"), static_cast<int>(ErrorCode::parse_error));
  EXPECT_EQ(code_for("{}"), static_cast<int>(ErrorCode::invalid_request));
  EXPECT_EQ(code_for(R"({"jsonrpc":"2.0","id":true,"method":"m"})"), static_cast<int>(ErrorCode::invalid_request));
  EXPECT_EQ(code_for(R"({"jsonrpc":"2.0","id":1})"), static_cast<int>(ErrorCode::invalid_request));
}

TEST(JsonRpc, AcceptsValuesUpToALimitOfDepth) {
  const auto nested = [](size_t depth) {
    return R"({"jsonrpc":"2.0","method":"[[[\"[","params":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  EXPECT_TRUE(std::holds_alternative<Call>(parse(nested(99))));
  EXPECT_TRUE(std::holds_alternative<Malformed>(parse(nested(100))));
  EXPECT_TRUE(std::holds_alternative<Malformed>(parse(std::string(10'000'000, '['))));
}

}  // namespace

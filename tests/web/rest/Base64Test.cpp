#include <vantiflux/web/rest/Base64.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::optional<std::string> encode(const std::string& bytes, std::size_t room) {
  std::vector<unsigned char> text(room + 1, '?');
  std::size_t size = room;
  if (REST::base64_enc(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), text.data(), &size) == 0)
    return std::nullopt;
  EXPECT_EQ(text[size], 0);
  EXPECT_EQ(text[room], '?') << "written beyond the end";
  return std::string(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
}

std::optional<std::string> decode(const std::string& text, std::size_t room) {
  std::vector<unsigned char> bytes(room + 1, '?');
  std::size_t size = room;
  if (REST::base64_dec(reinterpret_cast<const unsigned char*>(text.data()), text.size(), bytes.data(), &size) == 0) {
    EXPECT_EQ(size, room);
    return std::nullopt;
  }
  EXPECT_EQ(bytes[room], '?') << "written beyond the end";
  return std::string(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

} // namespace

TEST(Base64, EncodesWithPaddingIntoExactlyTheRoomThatItNeeds) {
  const std::vector<std::pair<std::string, std::string>> known = {{"", ""},
                                                                  {"f", "Zg=="},
                                                                  {"fo", "Zm8="},
                                                                  {"foo", "Zm9v"},
                                                                  {"foob", "Zm9vYg=="},
                                                                  {"fooba", "Zm9vYmE="},
                                                                  {"foobar", "Zm9vYmFy"},
                                                                  {std::string("\0\xff\xfe", 3), "AP/+"}};
  for (const auto& [bytes, text] : known) {
    EXPECT_EQ(encode(bytes, text.size() + 1), text);
    EXPECT_EQ(encode(bytes, text.size()), std::nullopt);
    EXPECT_EQ(decode(text, bytes.size()), bytes);
    if (!bytes.empty()) {
      EXPECT_EQ(decode(text, bytes.size() - 1), std::nullopt);
    }
  }
}

TEST(Base64, BlocksJoinWithoutATrace) {
  std::string bytes(std::size_t{2} * (3 << 18) + 5, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<char>(i * 7 + i / 251);
  const std::size_t room = (bytes.size() + 2) / 3 * 4 + 1;
  const auto text = encode(bytes, room);
  ASSERT_TRUE(text.has_value());
  EXPECT_EQ(text->size(), room - 1);
  EXPECT_EQ(text->find('='), text->size() - 1);
  EXPECT_EQ(decode(*text, bytes.size()), bytes);
}

TEST(Base64, DecodesOnlyWholeGroupsAndIgnoresWhatIsNoDigit) {
  EXPECT_EQ(decode(" Zm\r\n9v-_.Ym F y\n", 10), "foobar");
  EXPECT_EQ(decode("\n!?", 0), "");
  for (const char* const bad : {"Z", "Zg", "Zg=", "Zg===", "=",
                                "====", "Zm9v=", "Zm9v====", "Z===", "Zg==Zg==", "Zm8=a", "Zm8=A===", "Zm=8", "Zm9vY"})
    EXPECT_EQ(decode(bad, 64), std::nullopt) << bad;
  EXPECT_EQ(decode("Zg= =\n", 1), "f");
  // Padding at the very place where a block of the decoder ends.
  EXPECT_EQ(decode(std::string(4096, 'A') + "=", 4096), std::nullopt);
  EXPECT_EQ(decode(std::string(4094, 'A') + "==", 4096), std::string(3070, '\0'));
}

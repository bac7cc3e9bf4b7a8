#include <vantiflux/platform/pelorn/URL.h>

#include "HTTPServer.h"
#include "support.h"
#include <iterator>
#include <sys/stat.h>
#include <vantiflux/platform/pelorn/Notifier.h>
#include <vantiflux/platform/pelorn/URLFile.h>
#include <vantiflux/platform/pelorn/URLImpl.h>

namespace {

using Pelorn::URL;
using Pelorn::URLFile;
using Pelorn::URLImpl;

std::string contents(const URL& url) {
  const auto stream = url.open();
  return std::string(std::istreambuf_iterator<char>(*stream), {});
}

TEST(URL, Resolution) {
  struct Case {
    const char* text;
    const char* base;
    const char* result; // null: cannot be parsed
  };
  const std::string cwd = "file://" + std::filesystem::current_path().string() + "/";
  const Case cases[] = {
      {"/a/b.vfx", "", "file:///a/b.vfx"},
      {"/a b/%20?#.vfx", "", "file:///a%20b/%2520%3F%23.vfx"},
      {"/\xc3\xa4", "", "file:///%C3%A4"},
      {"b.vfx", "/x/y/a.vfx", "file:///x/y/b.vfx"},
      {"b c.vfx", "file:///x%20y/a.vfx", "file:///x%20y/b%20c.vfx"},
      {"b.vfx", "/x/y/", "file:///x/y/b.vfx"},
      {"../b.vfx", "/x/y/a.vfx", "file:///x/y/../b.vfx"},
      {"./left:1.vfx", "/x/a.vfx", "file:///x/left%3A1.vfx"},
      {"file:///a%20b?q#f", "http://h/x", "file:///a%20b"},
      {"FILE:///a", "", "file:///a"},
      {"file://localhost/a", "", "file:///a"},
      {"file:///a b", "", "file:///a%20b"},
      {"file://elsewhere/a", "", nullptr},
      {"file:///a%00b", "", nullptr},
      {"file:a", "", nullptr},
      {"http://host/a b", "", "http://host/a%20b"},
      {"HTTPS://host:8080/", "", "https://host:8080/"},
      {"http://host", "/x/y", "http://host/"},
      {"b.vfx", "http://host/x/a.vfx?q=1", "http://host/x/b.vfx"},
      {"/b", "http://host/x/a.vfx", "http://host/b"},
      {"../b", "http://host/x/y/a.vfx", "http://host/x/b"},
      {"b c", "http://host/x/a.vfx", "http://host/x/b%20c"},
      {"http://", "", nullptr},
      {"http://host:99999/", "", nullptr},
      {"ftp://host/a", "", nullptr},
      {"left:1.vfx", "", nullptr},
      {"", "", nullptr},
      {"", "/x/y", nullptr},
  };
  for (const auto& [text, base, expected] : cases) {
    const URL from = *base ? URL::parse(base) : URL();
    const URL url = URLImpl::create(text, from);
    EXPECT_EQ(expected ? expected : "", url.toString()) << text << " against " << base;
    EXPECT_EQ(expected == nullptr, url.empty());
  }
  EXPECT_EQ(cwd + "b.vfx", URL::parse("b.vfx").toString());
  EXPECT_EQ(cwd + "b.vfx", URL::parse("b.vfx", URLFile::_cwd).toString());
  EXPECT_TRUE(URL(URLImpl::create(std::string("/a\0b", 4), URL())).empty());
  try {
    URL::parse("ftp://host/a");
    ADD_FAILURE();
  } catch (const URLImpl::Exception& exception) {
    EXPECT_STREQ("Cannot parse URL", exception.what());
  }
}

TEST(URL, FilesOpenUnderEveryName) {
  const test::TemporaryFolder folder;
  for (const std::string name : {"plain.vfx", "with blank %41 #?&.vfx", "\xc3\xa4\xe4\xff", "a\nb", "c:d"}) {
    const std::string path = folder.write(name, "contents of " + name);
    const URL url = URL::parse(path);
    EXPECT_EQ("contents of " + name, contents(url));
    EXPECT_EQ("contents of " + name, contents(URL::parse(url.toString())));
    EXPECT_EQ("contents of " + name, contents(URL::parse("./" + name, URL::parse(folder.path().string() + "/x"))));
  }
}

TEST(URL, WhatIsNoReadableFile) {
  const test::TemporaryFolder folder;
  const std::string pipe = (folder.path() / "pipe").string();
  ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
  const std::string big = folder.write("big", "");
  std::filesystem::resize_file(big, URLImpl::maxDocument + 1);
  for (const std::string& path :
       {pipe, big, folder.path().string(), std::string("/no/such/file"), std::string("/dev/zero")})
    EXPECT_THROW(URL::parse(path).open(), URLImpl::Exception) << path;
  EXPECT_THROW(URL().open(), URLImpl::Exception) << "the working directory is no document";
}

TEST(URL, DocumentsOfAWebServer) {
  const test::TemporaryFolder folder;
  const std::string local = folder.write("secret", "local");
  const test::HTTPServer server([&](const std::string& path) -> std::string {
    if (path == "/moved")
      return "HTTP/1.0 302 Found\r\nLocation: /a%20b\r\n\r\n";
    if (path == "/loop")
      return "HTTP/1.0 302 Found\r\nLocation: /loop\r\n\r\n";
    if (path == "/file")
      return "HTTP/1.0 302 Found\r\nLocation: file://" + local + "\r\n\r\n";
    if (path == "/missing")
      return "HTTP/1.0 404 Not Found\r\n\r\nnot here";
    if (path == "/huge")
      return "HTTP/1.0 200 OK\r\nContent-Length: 99999999999\r\n\r\nx";
    if (path == "/endless")
      return "HTTP/1.0 200 OK\r\n\r\n" + std::string(URLImpl::maxDocument + 1, 'x');
    return "HTTP/1.0 200 OK\r\n\r\ngot " + path;
  });
  EXPECT_EQ("got /a%20b", contents(URL::parse(server.url("/a b"))));
  EXPECT_EQ("got /x/b", contents(URL::parse("b", URL::parse(server.url("/x/a")))));
  EXPECT_EQ("got /a%20b", contents(URL::parse(server.url("/moved"))));
  for (const std::string path : {"/loop", "/file", "/missing", "/huge", "/endless"})
    EXPECT_THROW(URL::parse(server.url(path)).open(), URLImpl::Exception) << path;
  std::string nobody;
  {
    const test::HTTPServer gone([](const std::string&) { return std::string(); });
    nobody = gone.url("/");
    EXPECT_THROW(URL::parse(nobody).open(), URLImpl::Exception) << "no reply";
  }
  EXPECT_THROW(URL::parse(nobody).open(), URLImpl::Exception);
}

TEST(URL, AServerThatDoesNotAnswerIsLeftAtOnce) {
  Pelorn::ServerSocket silent; // the system takes the connection
  silent.open("127.0.0.1", 0);
  const URL url =
      URL::parse("http://127.0.0.1:" + std::to_string(silent.getLocalAddress().getServicePort()) + "/never");
  const Pelorn::Notifier stop;
  test::Worker reader([&] { EXPECT_THROW(url->read(&stop), URLImpl::Exception); });
  const auto client = silent.accept();
  EXPECT_TRUE(reader.blocked());
  stop.signal();
}

} // namespace

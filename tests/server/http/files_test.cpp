// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "integrations/server/http/assets.h"
#include "integrations/server/http/file_response.h"
#include "integrations/server/http/form.h"
#include "integrations/server/http/http_server.h"
#include "integrations/server/http/request_target.h"
#include "server/http/wire_client.h"
#include "support/scratch_folder.h"

namespace orvik::server {
namespace {

namespace fs = std::filesystem;

TEST(Form, DecodesWhatClientsSend) {
  const Form form = Form::parse("a=1&&B=two+words%21&a=2&c&=nameless&d=50%25%&e=%4&f%3D=g=h&n=%00");
  const std::pair<const char*, std::optional<std::string_view>> cases[] = {
      {"a", "1"},          {"b", std::nullopt}, {"B", "two words!"},
      {"c", ""},           {"", "nameless"},    {"d", "50%%"},
      {"e", "%4"},         {"f=", "g=h"},       {"n", std::string_view("\0", 1)},
      {"z", std::nullopt},
  };
  for (const auto& [name, value] : cases) EXPECT_EQ(form.exact(name), value) << name;
  EXPECT_EQ(form.anyCase("b"), "two words!");
  EXPECT_EQ(form.anyCase("bb"), std::nullopt);
}

TEST(RequestTarget, DecodesPathsForNamesOfFiles) {
  EXPECT_EQ(decodedPath("/a%20b/%C3%BC+"), "/a b/\xC3\xBC+");
  for (const char* path : {"/%", "/%2", "/%zz", "/a%2Fb", "/a%00", "/%0a"}) {
    EXPECT_EQ(decodedPath(path), std::nullopt) << path;
  }
}

TEST(ParseRange, KnowsSingleRanges) {
  const struct {
    const char* header;
    std::optional<ByteRange> range;
  } cases[] = {
      {"bytes=0-99", ByteRange(0, 100)},
      {"Bytes=0-0", ByteRange(0, 1)},
      {"bytes=990-", ByteRange(990, 1000)},
      {"bytes=-1", ByteRange(999, 1000)},
      {"bytes=-5000", ByteRange(0, 1000)},
      {"bytes=5-5000", ByteRange(5, 1000)},
      {"bytes=1000-", ByteRange(1000, 1000)},
      {"bytes=-0", ByteRange(1000, 1000)},
      {"bytes=18446744073709551615-", ByteRange(1000, 1000)},
      {"bytes=0-18446744073709551615", ByteRange(0, 1000)},
      {"", std::nullopt},
      {"bytes=", std::nullopt},
      {"bytes=-", std::nullopt},
      {"bytes=5-4", std::nullopt},
      {"bytes=0-1,5-6", std::nullopt},
      {"bytes=a-b", std::nullopt},
      {"bytes= 1-2", std::nullopt},
      {"lines=1-2", std::nullopt},
      {"bytes=--5", std::nullopt},
      {"bytes=18446744073709551616-", std::nullopt},
  };
  for (const auto& each : cases)
    EXPECT_EQ(parseRange(each.header, 1000), each.range) << each.header;
  EXPECT_EQ(parseRange("bytes=-5", 0), ByteRange(0, 0));
}

/// Serves the files of a folder and those that are built in.
class FilesTest : public ::testing::Test {
 protected:
  FilesTest() {
    fs::create_directories(root() / "shared/night");
    write("shared/m31.fits", content_);
    write("shared/night/moon.ser", "moon");
    write("shared/.hidden", "hidden");
    write("secret", "secret");
    fs::create_symlink(root() / "secret", root() / "shared/link");
    fs::create_directory_symlink(root(), root() / "shared/up");
    mkfifo((root() / "shared/pipe").c_str(), 0600);
    folder_ = FileDescriptor(open((root() / "shared").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    server_ = std::make_unique<HttpServer>(
        ListenAddress{"127.0.0.1", 0}, Gate({}, ""),
        [this](const Request& request, Reply reply) { reply(answer(request)); }, nullptr);
  }

  [[nodiscard]] fs::path root() const { return scratch_.path(); }

  void write(const std::string& name, const std::string& text) {
    std::ofstream(root() / name, std::ios::binary) << text;
  }

  Response answer(const Request& request) {
    const std::string path = decodedPath(request.path).value_or("");
    if (path.starts_with("/files/")) {
      FileDescriptor file = openInFolder(folder_.number(), path.substr(7));
      if (file) return fileResponse(request, std::move(file), path);
    } else if (const Asset* asset = findAsset(embeddedAssets(), path.substr(1))) {
      return assetResponse(request, *asset);
    }
    return plainText(404, "");
  }

  WireAnswer get(const std::string& path, const std::string& headers = "") {
    WireClient client(server_->address().port);
    return client.ask("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
  }

  const std::string content_ = [] {
    std::string text;
    while (text.size() < 1'000'000) text += std::to_string(text.size());
    return text;
  }();
  test::ScratchFolder scratch_;
  FileDescriptor folder_;
  std::unique_ptr<HttpServer> server_;
};

TEST_F(FilesTest, SendsFilesAndPartsOfThem) {
  const WireAnswer whole = get("/files/m31.fits");
  EXPECT_EQ(whole.status, 200);
  EXPECT_EQ(whole.headers.at("content-type"), "image/fits");
  EXPECT_TRUE(whole.body == content_);
  const std::string tag = whole.headers.at("etag");
  const WireAnswer rest =
      get("/files/m31.fits", "Range: bytes=300000-\r\nIf-Range: " + tag + "\r\n");
  EXPECT_EQ(rest.status, 206);
  EXPECT_TRUE(rest.body == content_.substr(300'000));
  EXPECT_EQ(rest.headers.at("content-range"), "bytes 300000-" +
                                                  std::to_string(content_.size() - 1) + "/" +
                                                  std::to_string(content_.size()));
  EXPECT_EQ(get("/files/m31.fits", "Range: bytes=99999999-\r\n").status, 416);
  EXPECT_EQ(get("/files/m31.fits", "If-None-Match: W/\"x\", " + tag + "\r\n").status, 304);
  write("shared/m31.fits", "another one");
  EXPECT_EQ(get("/files/m31.fits", "Range: bytes=3-\r\nIf-Range: " + tag + "\r\n").body,
            "another one");
  EXPECT_EQ(get("/files/night/moon.ser").body, "moon");
  write("shared/M\u00FCnchen \"1\".fits", "x");
  EXPECT_EQ(get("/files/M%C3%BCnchen%20%221%22.fits").headers.at("content-disposition"),
            "attachment; filename=\"M__nchen _1_.fits\"; "
            "filename*=UTF-8''M%C3%BCnchen%20%221%22.fits");
}

TEST_F(FilesTest, NothingLeadsOutOfTheFolder) {
  for (const char* path :
       {"/files/", "/files/.hidden", "/files/link", "/files/up/secret", "/files/night",
        "/files/pipe", "/files//etc/passwd", "/files/night//moon.ser", "/files/absent",
        "/files/m31.fits/x", "/files/%2e%2e%2fsecret", "/files/..%2fsecret"}) {
    EXPECT_GE(get(path).status, 400) << path;
  }
  for (const char* name :
       {"../secret", "night/../../secret", "..", ".", "", "/etc/passwd", "night/"}) {
    EXPECT_FALSE(openInFolder(folder_.number(), name)) << name;
  }
}

TEST_F(FilesTest, AFileThatIsCutWhileItIsSentEndsTheConnection) {
  write("shared/large.ser", std::string(50'000'000, 'x'));
  WireClient client(server_->address().port, 4096);
  ASSERT_TRUE(client.send("GET /files/large.ser HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  client.read(1000);
  fs::resize_file(root() / "shared/large.ser", 10);
  EXPECT_LT(client.readToEnd().size(), 50'000'000U);
  EXPECT_EQ(get("/files/night/moon.ser").body, "moon");
}

TEST_F(FilesTest, ServesWhatIsBuiltIn) {
  const WireAnswer page = get("/index.html");
  EXPECT_EQ(page.body, "<!doctype html>\n<title>A page of the test</title>\n");
  EXPECT_EQ(page.headers.at("content-type"), "text/html; charset=utf-8");
  EXPECT_EQ(page.headers.at("cache-control"), "no-cache");
  EXPECT_EQ(get("/deep/answer.js").body, "export const answer = 42;\n");
  EXPECT_NE(get("/deep/answer.js").headers.at("etag"), page.headers.at("etag"));
  EXPECT_EQ(get("/index.html", "If-None-Match: " + page.headers.at("etag") + "\r\n").status, 304);
  EXPECT_EQ(get("/index.html", "If-None-Match: \"old\"\r\n").status, 200);
  EXPECT_EQ(get("/deep").status, 404);
}

}  // namespace
}  // namespace orvik::server

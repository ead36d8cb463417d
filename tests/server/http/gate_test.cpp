// SPDX-License-Identifier: MIT
#include "integrations/server/http/gate.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace orvik::server {
namespace {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

Request requestOf(const std::string& method, const std::string& path, const HeaderList& headers) {
  Request request;
  request.method = method;
  request.path = path;
  for (const auto& [name, value] : headers) request.headers.add(name, value);
  return request;
}

/// The status of the refusal; 0 if the request passes.
int refusal(const Gate& gate, const std::string& method, const std::string& path,
            const HeaderList& headers, bool opensWebSocket = false) {
  const auto answer = gate.refusal(requestOf(method, path, headers), opensWebSocket);
  return answer ? answer->status : 0;
}

TEST(Gate, KnowsItsHosts) {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  const std::string machine =
      std::string(name.data()).substr(0, std::string(name.data()).find('.'));
  const Gate gate({"Cam.Observatory.Example"}, "");
  for (const std::string& host :
       {std::string("localhost"), std::string("LOCALHOST:11111"), std::string("cam.localhost"),
        std::string("localhost."), std::string("127.0.0.1"), std::string("192.168.1.5:80"),
        std::string("[::1]:11111"), std::string("[fe80::1]"), machine, machine + ".local:11111",
        std::string("cam.observatory.example:443")}) {
    EXPECT_EQ(refusal(gate, "GET", "/", {{"Host", host}}), 0) << host;
  }
  for (const char* host :
       {"", "evil.example", "localhost.evil.example", "evillocalhost", "a/b.localhost",
        "127.0.0.1.evil.example", "127.1", "0x7f.0.0.1", "[::1", "[::1]x", "[evil.example]", "::1",
        "localhost:99999999", "localhost:80@evil.example", "user@localhost", ":11111",
        "observatory.example"}) {
    EXPECT_EQ(refusal(gate, "GET", "/", {{"Host", host}}), 421) << host;
  }
  EXPECT_EQ(refusal(gate, "GET", "/", {}), 0);  // HTTP/1.0
  EXPECT_EQ(refusal(gate, "GET", "/", {{"Host", "localhost"}, {"Host", "evil.example"}}), 421);
}

TEST(Gate, PagesOfOtherSitesChangeNothing) {
  const Gate gate({}, "");
  const std::pair<std::string, std::string> host{"Host", "localhost:11111"};
  const struct {
    std::string name;
    std::string value;
    bool isForeign;
  } cases[] = {
      {"Origin", "http://localhost:11111", false},
      {"Origin", "https://LocalHost:11111", false},
      {"Origin", "http://localhost:8080", true},
      {"Origin", "http://localhost", true},
      {"Origin", "http://127.0.0.1:11111", true},
      {"Origin", "http://evil.example", true},
      {"Origin", "null", true},
      {"Origin", "", true},
      {"origin", "http://localhost:11111.evil.example", true},
      {"Sec-Fetch-Site", "same-origin", false},
      {"Sec-Fetch-Site", "none", false},
      {"Sec-Fetch-Site", "same-site", true},
      {"Sec-Fetch-Site", "cross-site", true},
  };
  for (const auto& each : cases) {
    const HeaderList headers = {host, {each.name, each.value}};
    const int expected = each.isForeign ? 403 : 0;
    for (const char* method : {"PUT", "POST", "DELETE", "OPTIONS"}) {
      EXPECT_EQ(refusal(gate, method, "/api/v1/camera/0/gain", headers), expected) << each.value;
    }
    EXPECT_EQ(refusal(gate, "GET", "/live", headers, true), expected) << each.value;
    // Pages of other sites may lead to this one.
    EXPECT_EQ(refusal(gate, "GET", "/", headers), 0) << each.value;
  }
  EXPECT_EQ(refusal(gate, "PUT", "/api/v1/camera/0/gain", {host}), 0);
}

TEST(Gate, AsksForTheToken) {
  const Gate gate({}, "secret");
  const std::pair<std::string, std::string> host{"Host", "localhost:11111"};
  const struct {
    std::string method;
    std::string path;
    bool isOpen;
  } paths[] = {
      {"GET", "/api/v1/camera/0/gain", true},
      {"HEAD", "/management/apiversions", true},
      {"GET", "/setup/v1/camera/0/setup", true},
      {"GET", "/login", true},
      {"PUT", "/login", true},
      {"GET", "/page/style.css", true},
      {"GET", "/", true},
      {"GET", "/camera/0", true},
      {"GET", "/cameras", false},
      {"GET", "/files/night.fits", false},
      {"GET", "/files/style.css", false},
      {"GET", "/apis", false},
      {"PUT", "/api/v1/camera/0/gain", false},
      {"PUT", "/page/style.css", false},
      {"PUT", "/setup", false},
  };
  for (const auto& each : paths) {
    const int expected = each.isOpen ? 0 : 401;
    EXPECT_EQ(refusal(gate, each.method, each.path, {host}), expected) << each.path;
    EXPECT_EQ(refusal(gate, each.method, each.path, {host, {"Authorization", "Bearer secret"}}), 0);
  }
  EXPECT_EQ(refusal(gate, "GET", "/api/v1/live", {host}, true), 401);

  const std::pair<std::string, bool> credentials[] = {
      {"bearer secret", true},
      {"Bearer secreT", false},
      {"Bearer", false},
      {"Bearer secret1", false},
      {"Basic dXNlcjpzZWNyZXQ=", true},  // user:secret
      {"Basic OnNlY3JldA==", true},      // :secret
      {"Basic c2VjcmV0", false},         // no colon
      {"Basic dXNlcjpvdGhlcg==", false},
      {"Basic !!!", false},
      {"Digest secret", false},
      {"", false},
  };
  for (const auto& [text, isRight] : credentials) {
    EXPECT_EQ(refusal(gate, "GET", "/cameras", {host, {"Authorization", text}}), isRight ? 0 : 401)
        << text;
  }
  const auto page = gate.refusal(requestOf("GET", "/cameras", {host, {"Accept", "text/html,*/*"}}));
  ASSERT_TRUE(page);
  EXPECT_NE(std::get<std::string>(page->body).find("/login"), std::string::npos);
}

TEST(Gate, LogsInWithACookie) {
  const Gate gate({}, "secret word");
  const std::pair<std::string, std::string> host{"Host", "localhost:11111"};
  Request request = requestOf("PUT", "/login", {host});
  for (const char* wrong :
       {"", "token=", "token=secret", "TOKEN=secret+word", "other=secret+word"}) {
    request.body = wrong;
    EXPECT_EQ(gate.login(request).status, 401) << wrong;
  }
  request.body = "token=secret+word";
  const Response answer = gate.login(request);
  EXPECT_EQ(answer.status, 204);
  const std::string cookie(answer.headers.get("Set-Cookie"));
  EXPECT_EQ(cookie.find("secret"), std::string::npos);
  EXPECT_NE(cookie.find("; HttpOnly"), std::string::npos);
  EXPECT_NE(cookie.find("; SameSite=Strict"), std::string::npos);
  const std::string pair = cookie.substr(0, cookie.find(';'));
  EXPECT_EQ(refusal(gate, "GET", "/cameras", {host, {"Cookie", "a=b; " + pair + "; c=d"}}), 0);
  EXPECT_EQ(refusal(gate, "GET", "/live", {host, {"Cookie", pair}}, true), 0);
  EXPECT_EQ(refusal(gate, "GET", "/cameras", {host, {"Cookie", pair.substr(0, pair.size() - 1)}}),
            401);
  EXPECT_EQ(refusal(gate, "GET", "/cameras", {host, {"Cookie", "orvik11111="}}), 401);
  // It ends with the server, and is not another one's.
  EXPECT_EQ(refusal(Gate({}, "secret word"), "GET", "/cameras", {host, {"Cookie", pair}}), 401);
}

}  // namespace
}  // namespace orvik::server

// SPDX-License-Identifier: MIT
// Browsers at the server, over virtual cameras.
#include <cstring>
#include <filesystem>

#include "integrations/server/page/page_server.h"
#include "server/camera/camera_bench.h"
#include "server/page/fake_socket.h"
#include "support/own_folder.h"

namespace orvik::server::test {
namespace {

/// A browser with a page open.
class Browser {
 public:
  Browser(PageServer& server, const std::string& path, const std::string& address = "192.168.1.5") {
    Request request;
    request.method = "GET";
    request.path = path;
    request.client = address;
    user = server.connect(request, socket);
  }
  ~Browser() { leave(); }
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  void leave() {
    if (user) std::exchange(user, nullptr)->closed();
  }
  void say(const Json& command) { user->received(command.dump()); }
  /// Sends a command and waits for its answer. @return "" on success
  std::string ask(Json command) {
    command["id"] = ++id_;
    say(command);
    const auto isAnswer = [&](const Json& message) { return message["id"] == id_; };
    Json answer;
    // Either one comes: looks for both among all that was sent.
    const bool isAnswered = eventually([&] {
      for (const Json& message : socket->texts()) {
        if ((message["type"] == "done" || message["type"] == "failed") && isAnswer(message)) {
          answer = message;
        }
      }
      return !answer.is_null();
    });
    if (!isAnswered) return "no answer";
    return answer["type"] == "done" ? "" : answer["message"].get<std::string>();
  }
  Json status(const std::function<bool(const Json&)>& suits) {
    return socket->next("status", suits);
  }
  void look() { say({{"do", "view"}, {"window", nullptr}, {"size", {640, 480}}, {"shown", true}}); }
  bool waitUntilOpen() {
    hello = socket->next("hello", [](const Json& said) { return said["camera"]["width"] > 0; });
    return !hello.is_null();
  }

  Json hello;  // of the open camera
  std::shared_ptr<FakeSocket> socket = std::make_shared<FakeSocket>();
  std::shared_ptr<WebSocketUser> user;

 private:
  int id_ = 0;
};

class PageTest : public CameraBench {
 protected:
  ~PageTest() override { server_.reset(); }
  PageServer& server() {
    if (!server_) {
      server_ =
          std::make_unique<PageServer>(fleet(), std::make_shared<CaptureFolder>(folder_.path()));
    }
    return *server_;
  }
  std::optional<double> linesOn(int number = 0) {
    const auto lines = camera(number)->status()->guideLines;
    return std::count(lines.begin(), lines.end(), true);
  }

  orvik::test::OwnFolder folder_;
  std::unique_ptr<PageServer> server_;
};

TEST_F(PageTest, ABrowserSeesTheCameraAndChangesIt) {
  plug("T15C", "");
  Browser browser(server(), "/camera/0/live");
  ASSERT_TRUE(browser.user);
  const Json first = browser.socket->next("hello");
  EXPECT_EQ(first["you"], "192.168.1.5");
  EXPECT_EQ(first["camera"]["name"], "Vek T15C");
  ASSERT_TRUE(browser.waitUntilOpen());
  EXPECT_EQ(browser.status([](const Json& s) { return s["link"] == "open"; })["viewers"], 1);
  EXPECT_TRUE(browser.socket->next("captures")["running"].is_null());
  EXPECT_EQ(browser.socket->next("files")["files"], Json::array());
  EXPECT_TRUE(browser.socket->next("temperature")["sample"].is_array());

  browser.look();
  const std::string head = browser.socket->picture(1);
  std::array<std::uint16_t, 16> words{};
  std::memcpy(words.data(), head.data(), 32);
  EXPECT_EQ(words[0], 1);  // number of the message
  EXPECT_EQ((std::vector<int>(words.begin() + 4, words.begin() + 11)),
            (std::vector<int>{0, 0, 1304, 976, 1304, 976, 0}));
  float exposure = 0;
  std::memcpy(&exposure, head.data() + 24, 4);
  EXPECT_NEAR(exposure, 0.01, 0.011);
  browser.say({{"do", "seen"}, {"message", 1}});

  browser.say({{"do", "pointer"}, {"x", 5}, {"y", 7}});
  const Json statistics = browser.socket->next(
      "statistics", [](const Json& message) { return !message["pixel"].is_null(); });
  EXPECT_EQ(statistics["channels"].size(), 3U);
  EXPECT_EQ(statistics["channels"][0]["histogram"].size(), 256U);
  EXPECT_EQ(statistics["pixel"]["x"], 5);

  EXPECT_EQ(browser.ask({{"do", "control"}, {"control", 1}, {"value", 20000}, {"auto", false}}),
            "");
  EXPECT_FALSE(
      browser.status([](const Json& s) {
               return s["controls"]["1"] == Json{20000, false};
             })
          .is_null());
  EXPECT_EQ(
      browser.ask(
          {{"do", "format"}, {"region", {0, 0, 640, 480}}, {"bin", 2}, {"imageType", "raw16"}}),
      "");
  const Json binned = browser.status([](const Json& s) { return s["width"] == 320; });
  EXPECT_EQ(binned["imageType"], "raw16");
  EXPECT_EQ(binned["region"], (Json{0, 0, 640, 480}));
  EXPECT_FALSE(browser.socket->next("statistics", [](const Json& s) { return s["depth"] == 65535; })
                   .is_null());

  // What the camera does not take is told in words, and changes nothing.
  EXPECT_NE(browser.ask({{"do", "control"}, {"control", 0}, {"value", 100000}}), "");
  EXPECT_NE(browser.ask({{"do", "control"}, {"control", 999}, {"value", 1}}), "");
  EXPECT_NE(browser.ask({{"do", "cool"}, {"target", -10}, {"rate", 5}}), "");
  EXPECT_NE(browser.ask({{"do", "hot-pixels"}, {"detect", true}}), "");
}

TEST_F(PageTest, TwoBrowsersSeeTheSameAndWhoDidIt) {
  plug("T15C", "");
  Browser one(server(), "/camera/0/live");
  Browser other(server(), "/camera/0/live");
  ASSERT_TRUE(one.waitUntilOpen() && other.waitUntilOpen());
  EXPECT_EQ(other.hello["you"], "192.168.1.5 (2)");
  EXPECT_FALSE(one.status([](const Json& s) { return s["viewers"] == 2; }).is_null());

  // A slider that is dragged is one event.
  for (const int gain : {50, 60, 70}) {
    ASSERT_EQ(one.ask({{"do", "control"}, {"control", 0}, {"value", gain}, {"auto", false}}), "");
  }
  const Json told = other.status([](const Json& s) {
    return !s["events"].empty() && s["events"].back()["text"] == "Gain 70";
  });
  ASSERT_FALSE(told.is_null());
  EXPECT_EQ(told["events"].back()["who"], "192.168.1.5");
  for (const Json& event : told["events"]) EXPECT_NE(event["text"], "Gain 60");

  ASSERT_EQ(
      one.ask(
          {{"do", "stretch"}, {"mode", "asinh"}, {"black", 0.1}, {"white", 0.5}, {"strength", 20}}),
      "");
  const Json stretch =
      other.socket->next("stretch", [](const Json& s) { return s["mode"] == "asinh"; });
  EXPECT_EQ(stretch["white"], 0.5);
  Browser third(server(), "/camera/0/live", "10.0.0.1");
  EXPECT_EQ(third.socket->next("hello")["stretch"]["mode"], "asinh");

  // A browser that takes nothing is sent nothing more but the last state, later.
  other.socket->queued = 10;
  const auto count = [&] { return other.socket->texts().size(); };
  ASSERT_EQ(one.ask({{"do", "control"}, {"control", 0}, {"value", 90}, {"auto", false}}), "");
  ASSERT_FALSE(
      one.status([](const Json& s) { return s["events"].back()["text"] == "Gain 90"; }).is_null());
  const auto before = count();
  ASSERT_EQ(one.ask({{"do", "control"}, {"control", 0}, {"value", 95}, {"auto", false}}), "");
  ASSERT_FALSE(
      one.status([](const Json& s) { return s["events"].back()["text"] == "Gain 95"; }).is_null());
  EXPECT_EQ(count(), before);
  other.socket->queued = 0;
  EXPECT_FALSE(other.status([](const Json& s) { return s["events"].back()["text"] == "Gain 95"; })
                   .is_null());

  const Json list = Json::parse(std::get<std::string>(server().cameras().body));
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0]["link"], "open");
}

TEST_F(PageTest, GuideLinesGoOffWithTheBrowser) {
  plug("T15C", "");
  Browser browser(server(), "/camera/0/live");
  Browser other(server(), "/camera/0/live");
  ASSERT_TRUE(browser.waitUntilOpen());
  browser.say({{"do", "guide"}, {"line", 2}, {"on", true}});
  browser.say({{"do", "guide"}, {"line", 0}, {"on", true}});
  EXPECT_FALSE(
      other.status([](const Json& s) {
             return s["guide"] == Json{true, false, true, false};
           })
          .is_null());
  browser.say({{"do", "guide"}, {"line", 0}, {"on", false}});
  EXPECT_FALSE(
      other.status([](const Json& s) {
             return s["guide"] == Json{false, false, true, false};
           })
          .is_null());
  const auto left = std::chrono::steady_clock::now();
  browser.leave();
  EXPECT_FALSE(
      other.status([](const Json& s) {
             return s["guide"] == Json{false, false, false, false};
           })
          .is_null());
  // Not only because a line that is held goes off by itself.
  EXPECT_LT(std::chrono::steady_clock::now() - left, std::chrono::milliseconds(900));

  EXPECT_EQ(other.ask({{"do", "pulse"}, {"line", 1}, {"ms", 50}}), "");
  EXPECT_EQ(linesOn(), 0);
}

TEST_F(PageTest, BadCommandsAreRefusedAndHarmless) {
  plug("T15C", "");
  Browser browser(server(), "/camera/0/live");
  ASSERT_TRUE(browser.waitUntilOpen());
  for (const char* text :
       {"", "{", "[]", "7", "{\"do\":5}", "{\"do\":\"fly\",\"id\":1}", "{\"id\":2}"}) {
    browser.user->received(text);
    EXPECT_FALSE(browser.socket->next("failed").is_null()) << text;
  }
  EXPECT_NE(browser.ask({{"do", "capture"}, {"kind", "images"}, {"format", "ser"}}), "");
  EXPECT_NE(browser.ask({{"do", "delete"}, {"name", "../../etc/passwd"}}), "");
  EXPECT_NE(browser.ask({{"do", "stop-capture"}}), "");
  EXPECT_NE(browser.ask({{"do", "dark"}, {"use", true}}), "");  // there is none

  for (const char* path : {"/camera/1/live", "/camera/-0/live", "/camera/0/live/", "/camera//live",
                           "/camera/00000000000000000001/live", "/camera/0", "/live", ""}) {
    EXPECT_FALSE(Browser(server(), path).user) << path;
  }
  // A browser that does not wait for answers is told so; the others are served.
  Browser other(server(), "/camera/0/live");
  for (int id = 0; id < 2000; ++id) {
    browser.say(
        {{"do", "control"}, {"control", 0}, {"value", id % 100}, {"auto", false}, {"id", id}});
  }
  EXPECT_EQ(other.ask({{"do", "control"}, {"control", 0}, {"value", 33}, {"auto", false}}), "");
}

TEST_F(PageTest, CapturesGoOnWithoutTheBrowser) {
  plug("T15C", "");
  {
    Browser browser(server(), "/camera/0/live");
    ASSERT_TRUE(browser.waitUntilOpen());
    ASSERT_EQ(browser.ask({{"do", "capture"},
                           {"kind", "images"},
                           {"format", "fits"},
                           {"count", 3},
                           {"interval", 0.3},
                           {"exposure", 0.02},
                           {"name", "moon"}}),
              "");
    const Json running =
        browser.socket->next("captures", [](const Json& c) { return !c["running"].is_null(); });
    EXPECT_EQ(running["running"]["count"], 3);
    EXPECT_EQ(running["running"]["who"], "192.168.1.5");
  }
  Browser browser(server(), "/camera/0/live");
  const Json over = browser.socket->next(
      "captures", [](const Json& c) { return c["running"].is_null() && !c["last"].is_null(); });
  ASSERT_FALSE(over.is_null());
  EXPECT_EQ(over["last"]["done"], 3);
  const Json files =
      browser.socket->next("files", [](const Json& f) { return f["files"].size() == 3; });
  ASSERT_FALSE(files.is_null());
  EXPECT_EQ(files["files"][0]["name"], "moon_0003.fits");
  EXPECT_EQ(browser.ask({{"do", "delete"}, {"name", "moon_0003.fits"}}), "");
  EXPECT_FALSE(browser.socket->next("files", [](const Json& f) { return f["files"].size() == 2; })
                   .is_null());
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "moon_0003.fits"));
}

TEST_F(PageTest, DarkFramesAndHotPixelsAreRecordedAndUsed) {
  plug("T15C", "scene=dark");
  Browser browser(server(), "/camera/0/live");
  ASSERT_TRUE(browser.waitUntilOpen());
  ASSERT_EQ(browser.ask({{"do", "dark"}, {"record", true}}), "");
  EXPECT_FALSE(browser.status([](const Json& s) { return s["dark"]["has"] == true; }).is_null());
  EXPECT_EQ(browser.ask({{"do", "dark"}, {"use", true}}), "");
  EXPECT_FALSE(browser.status([](const Json& s) { return s["dark"]["uses"] == true; }).is_null());
  EXPECT_EQ(browser.ask({{"do", "hot-pixels"}, {"detect", true}}), "");
  EXPECT_EQ(browser.ask({{"do", "hot-pixels"}, {"use", true}}), "");
  EXPECT_FALSE(
      browser.status([](const Json& s) { return s["hotPixels"]["uses"] == true; }).is_null());
}

TEST_F(PageTest, TheCameraComesBackByItself) {
  const int id = plug("T15C", "serial=0012ABCD");
  Browser browser(server(), "/camera/0/live");
  ASSERT_TRUE(browser.waitUntilOpen());
  browser.look();
  browser.socket->picture(1);
  OrvikSimUnplug(id);
  EXPECT_FALSE(browser.status([](const Json& s) { return s["link"] == "absent"; }).is_null());
  EXPECT_NE(browser.ask({{"do", "control"}, {"control", 0}, {"value", 1}}), "");
  plug("T15C", "serial=0012ABCD");
  EXPECT_TRUE(browser.waitUntilOpen());
  EXPECT_FALSE(browser.status([](const Json& s) { return s["activity"] == "live"; }).is_null());
  browser.say({{"do", "seen"}, {"message", 1'000'000}});
  const std::size_t before = browser.socket->texts().size();
  EXPECT_TRUE(eventually([&] { return browser.socket->texts().size() > before; }));
}

}  // namespace
}  // namespace orvik::server::test

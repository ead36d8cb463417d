// SPDX-License-Identifier: MIT
#include "integrations/server/page/commands.h"

#include <string>

#include "gtest/gtest.h"

namespace orvik::server::command {
namespace {

template <typename Command>
Command parsed(std::string_view text) {
  const Parsed result = parse(text);
  EXPECT_TRUE(result.command && std::holds_alternative<Command>(*result.command))
      << text << ": " << result.fault;
  return result.command && std::holds_alternative<Command>(*result.command)
             ? std::get<Command>(*result.command)
             : Command{};
}

TEST(Commands, AreUnderstood) {
  const auto view = parsed<View>(
      R"({"do":"view","window":[-1,2,30,40],"size":[640,480],"shown":true,"more":[{}]})");
  EXPECT_EQ(view.wish.window, (imaging::Window{-1, 2, 30, 40}));
  EXPECT_EQ(view.wish.place, (imaging::Size{640, 480}));
  EXPECT_TRUE(view.wish.isShown);
  EXPECT_FALSE(
      parsed<View>(R"({"do":"view","window":null,"size":[0,0],"shown":false})").wish.window);
  EXPECT_EQ(parsed<Seen>(R"({"do":"seen","message":4294967295})").message, 4294967295U);
  EXPECT_FALSE(parsed<Pointer>(R"({"do":"pointer","x":null})").pixel);
  EXPECT_EQ(parsed<Pointer>(R"({"do":"pointer","x":3,"y":4})").pixel, std::pair(3, 4));
  EXPECT_EQ(parsed<SetStretch>(R"({"do":"stretch","mode":"auto","black":7})").stretch.mode,
            imaging::Stretch::Mode::kAuto);
  const auto control = parsed<Control>(R"({"do":"control","control":1,"value":-5,"auto":true})");
  EXPECT_EQ(control.value, (ControlValue{-5, true}));
  const auto format =
      parsed<Format>(R"({"do":"format","region":[1,2,3,4],"bin":2,"imageType":"raw16"})");
  EXPECT_EQ(format.region, (imaging::Region{1, 2, 3, 4}));
  EXPECT_EQ(format.type, Orvik_IMG_RAW16);
  EXPECT_EQ(parsed<Cool>(R"({"do":"cool","target":-10,"rate":2.5})").rate, 2.5);
  EXPECT_EQ(parsed<Pulse>(R"({"do":"pulse","line":3,"ms":60000})").length.count(), 60000);
  EXPECT_EQ(parsed<Dark>(R"({"do":"dark","use":false})").use, false);
  EXPECT_EQ(parsed<Dark>(R"({"do":"dark","record":true})").use, std::nullopt);
  const auto capture = parsed<Capture>(
      R"({"do":"capture","kind":"video","format":"ser","count":null,"seconds":2.5,"interval":0,)"
      R"("exposure":null,"name":"m","object":"M 42","frameKind":"flat"})");
  EXPECT_EQ(capture.request.length, CaptureRequest::Seconds(2.5));
  EXPECT_FALSE(capture.request.count || capture.request.exposure);
  EXPECT_EQ(capture.request.frameKind, FrameKind::kFlat);
  EXPECT_EQ(parsed<Delete>(R"({"do":"delete","name":"ä.fits"})").name, "ä.fits");
}

TEST(Commands, OfWrongTypesOrBeyondLimitsAreNot) {
  for (const char* text : {"",
                           "null",
                           "{\"do\":\"view\"",
                           R"({"do":null})",
                           R"({"do":"View"})",
                           R"({"do":"view","size":[1,2,3],"shown":true})",
                           R"({"do":"view","size":[1,-2],"shown":true})",
                           R"({"do":"view","size":[1,2.5],"shown":true})",
                           R"({"do":"view","size":[1,2],"shown":1})",
                           R"({"do":"view","window":[0,0,0,5],"size":[1,2],"shown":true})",
                           R"({"do":"view","window":[0,0,1e99,5],"size":[1,2],"shown":true})",
                           R"({"do":"seen","message":-1})",
                           R"({"do":"seen","message":18446744073709551615})",
                           R"({"do":"pointer","x":"3","y":4})",
                           R"({"do":"stretch","mode":"linear","black":0.5,"white":0.5})",
                           R"({"do":"stretch","mode":"asinh","black":0,"white":1})",
                           R"({"do":"stretch","mode":"asinh","black":0,"white":1,"strength":1001})",
                           R"({"do":"control","control":1})",
                           R"({"do":"control","control":1,"value":2147483648})",
                           R"({"do":"control","control":1,"value":1,"auto":0})",
                           R"({"do":"format","region":[0,0,8,8],"bin":0,"imageType":"raw8"})",
                           R"({"do":"format","region":[0,0,8,8],"bin":1,"imageType":"?"})",
                           R"({"do":"format","region":[-1,0,8,8],"bin":1,"imageType":"raw8"})",
                           R"({"do":"cool","target":-10,"rate":0})",
                           R"({"do":"cool","target":-10.5,"rate":1})",
                           R"({"do":"warm","rate":1e999})",
                           R"({"do":"guide","line":4,"on":true})",
                           R"({"do":"pulse","line":1,"ms":0})",
                           R"({"do":"pulse","line":1,"ms":60001})",
                           R"({"do":"dark","record":false})",
                           R"({"do":"hot-pixels"})",
                           R"({"do":"capture","kind":"film","format":"ser"})",
                           R"({"do":"delete","name":7})"}) {
    const Parsed result = parse(text);
    EXPECT_FALSE(result.command) << text;
    EXPECT_NE(result.fault, "") << text;
  }
  const std::string deep = R"({"do":)" + std::string(30000, '[') + std::string(30000, ']') + "}";
  EXPECT_FALSE(parse(deep).command);
  // The number of a command comes back also when the rest is wrong; what is no number does not.
  EXPECT_EQ(parse(R"({"id":5,"do":"fly"})").id, 5);
  EXPECT_EQ(parse(R"({"id":"5","do":"cooler-off"})").id, std::nullopt);
}

}  // namespace
}  // namespace orvik::server::command

#include "ZorvJackOscRouter.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using zorvjack::OscArgument;
using zorvjack::OscRouter;

OscArgument f(double v) {
  return {'f', v, ""};
}
OscArgument i(double v) {
  return {'i', v, ""};
}
OscArgument d(double v) {
  return {'d', v, ""};
}
OscArgument s(std::string const& text) {
  return {'s', 0., text};
}

struct Form {
  std::string path;
  std::vector<OscArgument> arguments;
  std::string message;
};

std::ostream& operator<<(std::ostream& out, Form const& form) {
  return out << form.path << " -> " << form.message;
}

class OscRouterForms : public ::testing::TestWithParam<Form> {};

TEST_P(OscRouterForms, TranslateToTheObjectsMessage) {
  OscRouter router;
  OscRouter::Result const result = router.Route(GetParam().path, GetParam().arguments);
  EXPECT_EQ(result.message, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    EveryAddress, OscRouterForms,
    ::testing::Values(
        Form{"/zorv/message", {s("source 1 aed 30 0 2")}, "source 1 aed 30 0 2"},
        // Controllers that cannot send one string send the atoms one by one.
        Form{"/zorv/message",
             {s("source"), i(1), s("aed"), f(30.5), i(0), d(2)},
             "source 1 aed 30.5 0 2"},
        Form{"/zorv/source/2/aed", {f(30), f(-10), f(2.5)}, "source 2 aed 30 -10 2.5"},
        Form{"/zorv/source/007/xyz", {i(1), d(0.125), f(-3)}, "source 7 xyz 1 0.125 -3"},
        Form{"/zorv/speaker/3/aed", {f(45), f(0), f(1)}, "speaker 3 aed 45 0 1"},
        Form{"/zorv/listener/yaw", {f(-90)}, "listener yaw -90"},
        Form{"/zorv/listener/ypr", {f(12.5), f(40), f(-7)}, "listener yaw 12.5"},
        Form{"/zorv/mute/4", {i(1)}, "source 4 mute 1"},
        Form{"/zorv/mute/4", {f(0)}, "source 4 mute 0"},
        Form{"/zorv/mute/4", {{'T', 0., ""}}, "source 4 mute 1"},
        // Floats keep their digits; huge ones reach the object, which judges.
        Form{"/zorv/source/1/aed",
             {f(0.1f), f(3.0e38f), f(1e-30f)},
             "source 1 aed 0.100000001 3.00000001e+38 1e-30"}));

TEST(OscRouter, RefusesWhatIsNotAFiniteNumberOrHasTheWrongShape) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  double const inf = std::numeric_limits<double>::infinity();
  std::vector<std::pair<std::string, std::vector<OscArgument>>> const bad = {
      {"/zorv/source/1/aed", {f(nan), f(0), f(1)}},
      {"/zorv/source/1/aed", {f(0), f(inf), f(1)}},
      {"/zorv/source/1/aed", {f(0), f(0)}},
      {"/zorv/source/1/aed", {f(0), f(0), f(1), f(2)}},
      {"/zorv/source/1/aed", {s("a"), s("b"), s("c")}},
      {"/zorv/listener/yaw", {}},
      {"/zorv/listener/yaw", {s("90")}},
      {"/zorv/listener/ypr", {f(nan), f(0), f(0)}},
      {"/zorv/mute/1", {s("on")}},
      {"/zorv/message", {}},
      {"/zorv/message", {f(1)}},
      {"/zorv/message", {s("source 1 aed"), f(nan)}},
  };
  OscRouter router;
  for (auto const& [path, arguments] : bad) {
    OscRouter::Result const result = router.Route(path, arguments);
    EXPECT_TRUE(result.message.empty()) << path << " gave \"" << result.message << "\"";
  }
}

TEST(OscRouter, AnswersEachUnknownAddressOnceAndFallsSilentAfterMany) {
  OscRouter router;
  EXPECT_EQ(router.Route("/zorv/sauce/1/aed", {f(0), f(0), f(1)}).notes.size(), 1u);
  EXPECT_TRUE(router.Route("/zorv/sauce/1/aed", {f(0), f(0), f(1)}).notes.empty());
  // Known shapes that are not ours: a bad index, a missing part, another root.
  for (std::string path : {"/zorv/source/x/aed", "/zorv/source/1", "/zorv/source/1/aed/",
                           "/zorv/source/1234567890/aed", "/other/message", "", "zorv/message"}) {
    OscRouter::Result const result = router.Route(path, {f(0), f(0), f(1)});
    EXPECT_TRUE(result.message.empty()) << path;
    EXPECT_EQ(result.notes.size(), 1u) << path;
  }
  // Bad arguments on a known address are answered once per type tags.
  EXPECT_EQ(router.Route("/zorv/listener/yaw", {s("x")}).notes.size(), 1u);
  EXPECT_TRUE(router.Route("/zorv/listener/yaw", {s("y")}).notes.empty());
  EXPECT_EQ(router.Route("/zorv/listener/yaw", {i(1), i(2)}).notes.size(), 1u);

  // A stream of distinct addresses costs bounded memory and console lines.
  std::size_t notes = 0;
  for (int k = 0; k < 2000; ++k) {
    notes += router.Route("/junk/" + std::to_string(k), {}).notes.size();
  }
  EXPECT_LE(notes, OscRouter::MaxAnswered + 1);
  EXPECT_TRUE(router.Route("/junk/again", {}).notes.empty());
  // Valid messages still go through.
  EXPECT_EQ(router.Route("/zorv/listener/yaw", {f(10)}).message, "listener yaw 10");
}

TEST(OscRouter, SaysOnceThatPitchAndRollAreIgnored) {
  OscRouter router;
  OscRouter::Result const first = router.Route("/zorv/listener/ypr", {f(10), f(20), f(30)});
  ASSERT_EQ(first.notes.size(), 1u);
  EXPECT_NE(first.notes[0].find("pitch and roll are ignored"), std::string::npos);
  EXPECT_TRUE(router.Route("/zorv/listener/ypr", {f(11), f(20), f(30)}).notes.empty());
}

}  // namespace

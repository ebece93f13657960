/// @file
/// Code blocks and their bytes, made by independent coders.
#pragma once

#include <vector>

#include "blockkit.h"

namespace blockkit {

struct KnownBlock {
  const char* name;
  Shape shape;
  Coefficients data;
  int bitPlanes, passes;
  const char* bytes;
  std::vector<int> segments;  ///< bytes of each, where there are several
};

// clang-format off
inline const Coefficients kSparse8x8 = {
  0, -16, -36, 0, 0, 0, -25, 0, 3, 0, 0, 9, 2, 0, 0, 0, 0, 0, -1, -27, 0, 0, 0, 0, 0, 0, 0, 0,
  0, 0, 0, -9, 33, 0, 0, -6, -25, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 0, 27, -25,
  0, 0, 0, 0, 0, -22, 0, 0,
};
inline const Coefficients kDense5x7 = {
  121, 278, 116, -12, 197, 174, 118, 144, -180, 279, -183, 238, 38, 237, 233, 142, 130, -276,
  28, -245, 3, 143, 85, 29, 12, -229, -50, -173, 157, -52, 214, 106, -247, 187, -193,
};
inline const Coefficients kRuns8x8 = {
  0, 416, 645, 0, 663, 418, 0, -246, 0, 0, 0, -447, -699, -201, -652, 0, 202, 386, -411, 0,
  -607, -637, -58, -36, -407, 0, 0, -300, 25, 0, 0, 0, 0, 0, -74, -140, -424, 211, 0, -243, 0,
  0, -218, -141, 0, 0, 0, 0, 0, 0, 0, 0, 0, -686, 400, 0, -364, 0, -333, 0, 0, -632, 497,
  -695,
};
inline const std::vector<KnownBlock> knownBlocks = {
  {"all zero", {{4, 4}, rkdBandLL, 0}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
   0, 0, "", {}},
  {"single one", {{4, 4}, rkdBandLL, 0}, {0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
   1, 1, "16AF", {}},
  {"single minus one last", {{4, 4}, rkdBandLL, 0}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1},
   1, 1, "247F", {}},
  {"t800 j10 ll", {{1, 5}, rkdBandLL, 0}, {-26, -22, -30, -32, -19},
   6, 16, "018F0DC8757F", {}},
  {"t800 j10 high", {{1, 4}, rkdBandLH, 0}, {1, 5, 1, 0},
   3, 7, "0FB17F", {}},
  {"sparse8x8 LL", {{8, 8}, rkdBandLL, 0}, kSparse8x8,
   6, 16, "1C7313A57441A3AF978D31141B8894197F3BB690C8D482BF", {}},
  {"sparse8x8 HL", {{8, 8}, rkdBandHL, 0}, kSparse8x8,
   6, 16, "1C7313A711533D664532E8606EC560ECD412482DB865CCBD", {}},
  {"sparse8x8 LH", {{8, 8}, rkdBandLH, 0}, kSparse8x8,
   6, 16, "1C7313A57441A3AF978D31141B8894197F3BB690C8D482BF", {}},
  {"sparse8x8 HH", {{8, 8}, rkdBandHH, 0}, kSparse8x8,
   6, 16, "1C917DD587B1B5A080FAC4CEB9C86514781B938D5D11423AE7", {}},
  {"dense5x7 LL", {{5, 7}, rkdBandLL, 0}, kDense5x7, 9, 25,
   "17F769023E83B8A5AC03333FFBC1CF663F0AC7A5334729A9F90B1C420E2ED628EBA730FE8D4236DA842BFCF4"
   "F07F", {}},
  {"dense5x7 HH", {{5, 7}, rkdBandHH, 0}, kDense5x7, 9, 25,
   "18123442ABF567406360127D432D81D18FC1287A1B472C9E010B1C4ABAE5AC5196F5D5F700F8DB6A10AFF3D3"
   "C1", {}},
  {"style 1 BYPASS", {{8, 8}, rkdBandHL, 1}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDA8C8290C74116185A1580D6BBFBCCA9E472DE46F0DC83855F00198000046AB05BAAFF7F0080"
   "000046E5885FFF7F000000021DDE7F60FF7F000000012E8DCE42FF7F000000035BA330C6FF7F000000013BD8"
   "0A8EFF7F",
   {31, 9, 2, 8, 2, 8, 2, 8, 2, 8, 2, 8, 2}},
  {"style 2 RESET", {{8, 8}, rkdBandHL, 2}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDAC368A702FABE785D67F5B05A50FAF85C107B06FAE7A4929D3E835E45638524C9B49431869C"
   "C916223B0ABA4A88AC926EA4D8506B7EB4DC4E3D36D7C1045F", {}},
  {"style 4 TERMALL", {{8, 8}, rkdBandHL, 4}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDA3585218E7F7FB3DF167D62F6D77F2B0004472F59FF577F3F1B0867FF7FE53B498A0467FF7F"
   "CBC3E037F57EBFFF7FFF7F427333567FFF7FFF7FD78115E423FF7FFF7F56F18DC2FF7FFF7F1E93B47E2FFF7F",
   {7, 5, 1, 4, 5, 4, 1, 3, 4, 2, 2, 4, 2, 2, 5, 2, 2, 5, 2, 2, 5, 2, 2, 4, 2, 2, 5, 2}},
  {"style 8 VCAUSAL", {{8, 8}, rkdBandHL, 8}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDA8C8290C74116185A1580B2EC71AB4B11CB7917A7607C219F500664C04673B5F5F5D5FB30B3"
   "1266ADAFCF195E4269340E370CE86BDB47E2", {}},
  {"style 16 PTERM", {{8, 8}, rkdBandHL, 16}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDA8C8290C74116185A1580D6BBFBCCA9E472DE46F0DC83856754BB3A228CDCEBB9706B3BF742"
   "B7E6ADB0A9895E4268955E370CF3FE650914", {}},
  {"style 32 SEGSYM", {{8, 8}, rkdBandHL, 32}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDAA92CC90C74116185A12F8202C2FA6BA9E472DCAF785E9F742197A025E250A8CDE0FC6B87EA"
   "FD83CF58C4D09210656395E42634AF312722D063B3B47E2A7F", {}},
  {"style 5 BYPASS+TERMALL", {{8, 8}, rkdBandHL, 5}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDA3585218E7F7FB3DF167D62F6D77F2B0004472F59FF577F3F1B0867FF7F001980000A235582"
   "DDFF7F0080000046E5885FFF7F0000000187779FD82AFF7F000000014BA37390AAFF7F00000001D6E8CC31AA"
   "FF7F000000014EF602A3AAFF7F",
   {7, 5, 1, 4, 5, 4, 1, 3, 4, 2, 5, 4, 2, 4, 4, 2, 4, 5, 2, 4, 5, 2, 4, 5, 2, 4, 5, 2}},
  {"style 12 TERMALL+VCAUSAL", {{8, 8}, rkdBandHL, 12}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDA3585218E7F7FB3DF167D62F25D8CFF7F0004472F59FF483F3F1B0867FF7FE775498A0467FF"
   "7FCA5FE037F57EBFFF7FFF7F427333567FFF7FFF7FD78115E423FF7FFF7F56F18DC2FF7FFF7F1E93B47E2FFF"
   "7F",
   {7, 5, 1, 4, 6, 4, 1, 3, 4, 2, 2, 4, 2, 2, 5, 2, 2, 5, 2, 2, 5, 2, 2, 4, 2, 2, 5, 2}},
  {"style 63 BYPASS+RESET+TERMALL+VCAUSAL+PTERM+SEGSYM", {{8, 8}, rkdBandHL, 63}, kRuns8x8, 10, 28,
   "1D19D0CB3CFBDAA7D2AA2702F27559F52DC73C78D22D287D3ED2470C39E7AB0DD5C9AFE4E442001980000A23"
   "5582DD400080000046E5885F400000000187779FD82A40000000014BA37390AA4000000001D6E8CC31AA4000"
   "0000014EF602A3AA40",
   {8, 5, 1, 5, 6, 3, 2, 3, 4, 1, 5, 4, 1, 4, 4, 1, 4, 5, 1, 4, 5, 1, 4, 5, 1, 4, 5, 1}},
  {"row16x1", {{16, 1}, rkdBandLH, 0}, {-8, -4, -7, 8, 2, 1, 6, -8, 7, 0, 7, 7, 8, -4, -4, -6},
   4, 10, "05AFEB9BF7A072AF4E5731", {}},
  {"big 16bit",
   {{4, 4}, rkdBandHH, 0},
   {
     24322, -1921, 24960, 808, -1844, 1268, 31341, -3771, 32631, 1485, -28137, -6225, -25885,
     26002, -9171, 9837,
   },
   15, 43, "142C12A0169A70BB503B50D96133AEB4DDE1FD51B633D544AF08DCE4C5490EEF15D1EEA3", {}},
};

/// What is known of the HL block of 8x8 behind some passes: twice the value, with the half bit.
struct KnownStep {
  int passes;
  Coefficients twice;
};
inline const std::vector<KnownStep> knownSteps = {
  {1, {
     0, 0, -96, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 96, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, 0,
   }},
  {2, {
     0, -48, -96, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, 96, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, 0, 0,
   }},
  {3, {
     0, -48, -80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, 80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, 0, 0,
   }},
  {4, {
     0, -48, -80, 0, 0, 0, -48, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -48, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, 0, 80, 0, 0, 0, -48, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 48, -48, 0,
     0, 0, 0, 0, -48, 0, 0,
   }},
  {7, {
     0, -40, -72, 0, 0, 0, -56, 0, 0, 0, 0, 24, 0, 0, 0, 0, 0, 0, 0, -56, 0, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, -24, 72, 0, 0, 0, -56, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 24, 0, 56, -56,
     0, 0, 0, 0, 0, -40, 0, 0,
   }},
  {16, {
     0, -33, -73, 0, 0, 0, -51, 0, 7, 0, 0, 19, 5, 0, 0, 0, 0, 0, -3, -55, 0, 0, 0, 0, 0, 0, 0,
     0, 0, 0, 0, -19, 67, 0, 0, -13, -51, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 25, 0, 55,
     -51, 0, 0, 0, 0, 0, -45, 0, 0,
   }},
};
// clang-format on

}  // namespace blockkit

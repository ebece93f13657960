/// @file
/// What measurements in pairs say about two builds: ratio, interval and verdict. Pure functions of
/// samples.
///
/// A round gives one sample a_i of the first side and one b_i of the second, taken next to each
/// other; d_i = ln(b_i / a_i). The median of the d_i is estimated by their order alone, so that
/// neither their distribution nor a seed has a say.
#pragma once

#include <vector>

enum tzVerdict { VERDICT_SAME, VERDICT_FASTER, VERDICT_SLOWER, VERDICT_UNRESOLVED };
/// "same", "faster", "slower", "unresolved": of the second side.
const char* tzVerdictName(tzVerdict verdict);

/// The largest k for which the k-th smallest and the k-th largest of n values enclose their median
/// with probability 1 - alpha at least: 2^-n (C(n,0) + ... + C(n,k-1)) <= alpha / 2; 0: none does.
int tzSignRank(int n, double alpha);

/// A ratio, second side over first, with its interval.
struct tzRatio {
  double ratio = 1;
  double low = 0;       ///< 0 and infinity where there are too few rounds for an interval
  double high = 0;      ///< likewise
  double smallest = 0;  ///< the smallest change that is found in 95 of 100 such measurements
};

/// The ratio of two sides from the clocks of their rounds.
/// @param a,b    of one length; rounds with a value that is not positive are left out
/// @param alpha  the chance that the interval misses the ratio
tzRatio tzPairedRatio(const std::vector<double>& a, const std::vector<double>& b, double alpha);

/// What an interval says.
/// @param gate  changes below it do not count: 0.01 is 1 %
/// "slower": the interval lies above 1 and the ratio not below 1 + gate; "faster" likewise; "same":
/// the interval lies within the gate on both sides.
tzVerdict tzJudgeRatio(const tzRatio& ratio, double gate);

/// @name Looks
/// A row is looked at after so many rounds, and never in between: whoever stops when it suits finds
/// what is not there.
/// @{
constexpr int kTzLooks[] = {51, 101, 201};
constexpr int kTzNumLooks = 3;
/// The part of alpha of one look at one of `comparisons` figures.
double tzLookAlpha(double alpha, int comparisons);
/// @}

/// @name Agreement
/// Several pairs of processes, each with its ratio and verdict: processes differ by where their
/// memory lies, so one pair proves nothing.
/// @{
struct tzAgreement {
  tzRatio ratio;  ///< median of the ratios; the outermost ends of the intervals of the pairs that
                  ///< share the verdict, of all pairs where there is none
  tzVerdict verdict = VERDICT_UNRESOLVED;
};
/// "slower" and "faster" when more pairs say so than would by chance: all of five, 7 of ten, 8 of
/// twelve. "same" when two thirds of the pairs do, and three at least, and none says one of those.
/// Else "unresolved".
tzAgreement tzAgree(const std::vector<tzRatio>& pairs, double gate);
/// Further pairs may settle it: there is no verdict yet, but the median is beyond the gate, or more
/// pairs say one way than the other while there are too few for a verdict.
bool tzIsOpen(const std::vector<tzRatio>& pairs, double gate);
/// @}

/// @file
/// Run conditions: what the keys -f and -t ask of a test before it runs.
#pragma once

#include "tzlist.h"
#include "tzstring.h"

class tzTest;

/// One condition. Conditions of the any-of group are alternatives; those of the all-of group must
/// hold each.
class RunCondition {
 public:
  enum Group { ALL_OF = 0, ANY_OF = 1 };

  RunCondition(Group group, const tzString& pattern) : m_group(group), m_pattern(pattern) {}
  virtual ~RunCondition() = default;
  RunCondition(const RunCondition&) = delete;
  RunCondition& operator=(const RunCondition&) = delete;

  /// Whether the condition holds for `test`.
  virtual bool tobeRun(const tzTest* test) const = 0;

  bool isAnyOf() const { return m_group == ANY_OF; }

 protected:
  int m_group;
  tzString m_pattern;
};

namespace tzcondition {
/// The texts of a test that conditions look at (tests tell them), and the ways of looking; all
/// case-sensitive.
tzString functionName(const tzTest& test);
tzString testName(const tzTest& test);
bool contains(const tzString& text, const tzString& pattern);
bool lacks(const tzString& text, const tzString& pattern);
bool equals(const tzString& text, const tzString& pattern);
}  // namespace tzcondition

/// A condition made of the text that it looks at, the comparison and the group.
template <tzString (*Text)(const tzTest&), bool (*Holds)(const tzString&, const tzString&),
          RunCondition::Group group>
class RunConditionOn : public RunCondition {
 public:
  explicit RunConditionOn(const tzString& pattern) : RunCondition(group, pattern) {}
  bool tobeRun(const tzTest* test) const override { return Holds(Text(*test), m_pattern); }
};

using RunCondition_f =
    RunConditionOn<tzcondition::functionName, tzcondition::contains, RunCondition::ANY_OF>;
using RunCondition_fEqual =
    RunConditionOn<tzcondition::functionName, tzcondition::equals, RunCondition::ANY_OF>;
using RunCondition_fAnd =
    RunConditionOn<tzcondition::functionName, tzcondition::contains, RunCondition::ALL_OF>;
using RunCondition_fNot =
    RunConditionOn<tzcondition::functionName, tzcondition::lacks, RunCondition::ALL_OF>;
using RunCondition_t =
    RunConditionOn<tzcondition::testName, tzcondition::contains, RunCondition::ANY_OF>;
using RunCondition_tEqual =
    RunConditionOn<tzcondition::testName, tzcondition::equals, RunCondition::ANY_OF>;
using RunCondition_tAnd =
    RunConditionOn<tzcondition::testName, tzcondition::contains, RunCondition::ALL_OF>;
using RunCondition_tNot =
    RunConditionOn<tzcondition::testName, tzcondition::lacks, RunCondition::ALL_OF>;

/// The conditions of one session in the order of their keys; owns them.
class tzConditions : public tzList<RunCondition*> {
 public:
  tzConditions() = default;
  ~tzConditions();
  tzConditions(const tzConditions&) = delete;
  tzConditions& operator=(const tzConditions&) = delete;

  /// Appends `condition` and takes it over.
  void add(RunCondition* condition);

  /// Whether `test` runs: any condition of the any-of group (when there is one) and every condition
  /// of the all-of group must hold. The order of the keys has no say.
  bool tobeRun(const tzTest* test) const;
};

/// The form of a -f or -t argument.
enum tzConditionForm {
  CONDITION_PLAIN = 0,
  CONDITION_AND = 1,
  CONDITION_NOT = 2,
  CONDITION_EQUAL = 3,
  CONDITION_EMPTY = 4
};

/// Classifies `arg` by its sign and removes the sign. Nothing left: CONDITION_EMPTY.
int getCondition(tzString& arg);

/// Under -P: functions that the ini file names, whatever else is selected.
class RunCondition_ini : public RunCondition {
 public:
  RunCondition_ini() : RunCondition(ALL_OF, "") {}
  bool tobeRun(const tzTest* test) const override;
};

/// Whether -P lets tests of this function run; true without -P.
bool tzIsIniFunction(const tzString& function);

/// The functions of most interest (key -H): null until the first registration, which makes the
/// list, because suites register from static initialisers whose order is not fixed.
extern tzStringList* g_hotList;
/// @return 1, so that a unit can keep it in a file-scope integer
int tzRegHotFunction(const tzString& name);
/// Whether `name` is exactly one of the hot functions.
bool tzIsHotFunction(const tzString& name);

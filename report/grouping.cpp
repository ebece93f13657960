// Rows put together for the eye.
#include "report/grouping.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "report/text.h"

namespace report {

namespace {

std::string valueOf(const Row& row, const std::string& parameter) {
  for (const Named& named : row.parameters) {
    if (named.name == parameter) return named.value;
  }
  return {};
}

std::vector<SizedLine> draftLines(const std::vector<const Row*>& rows) {
  std::vector<SizedLine> drafts;
  std::map<std::string, std::size_t> places;
  std::set<std::pair<std::size_t, std::string>> taken;
  for (const Row* row : rows) {
    const std::string parameter = sizeParameter(*row);
    const std::string size = valueOf(*row, parameter);
    std::vector<Named> others;
    std::copy_if(row->parameters.begin(), row->parameters.end(), std::back_inserter(others),
                 [&](const Named& named) { return named.name != parameter; });
    const std::string key =
        row->function + '\n' + row->unit + '\n' + parameter + '\n' + parametersText(others);
    const auto [place, isNew] = places.try_emplace(key, drafts.size());
    // A size that is there already begins a line of its own: nothing is hidden.
    const bool isTwice = !taken.emplace(place->second, size).second;
    if (isTwice) place->second = drafts.size();
    if (isTwice) taken.emplace(place->second, size);
    if (isNew || isTwice) {
      drafts.push_back({parameter, {row->function, others, row->unit, {}}, {}});
    }
    drafts[place->second].line.rows.push_back(row);
    drafts[place->second].sizes.push_back(size);
  }
  return drafts;
}

void sortBySize(SizedLine& draft) {
  std::vector<std::size_t> order(draft.sizes.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  const auto size = [&](std::size_t i) { return sizeOf(draft.sizes[i]).value_or(0); };
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return size(a) < size(b); });
  SizedLine sorted = draft;
  for (std::size_t i = 0; i < order.size(); ++i) {
    sorted.sizes[i] = draft.sizes[order[i]];
    sorted.line.rows[i] = draft.line.rows[order[i]];
  }
  draft = std::move(sorted);
}

}  // namespace

std::vector<SizedLine> sizedLines(const std::vector<const Row*>& rows) {
  std::vector<SizedLine> lines = draftLines(rows);
  for (SizedLine& line : lines) sortBySize(line);
  return lines;
}

std::vector<SizeSection> groupBySize(const std::vector<const Row*>& rows) {
  std::vector<SizeSection> sections;
  std::map<std::string, std::size_t> places;
  for (SizedLine& draft : sizedLines(rows)) {
    std::string key = draft.parameter;
    for (const std::string& size : draft.sizes) key += '\n' + size;
    const auto [place, isNew] = places.try_emplace(key, sections.size());
    if (isNew) sections.push_back({draft.parameter, draft.sizes, {}});
    sections[place->second].lines.push_back(std::move(draft.line));
  }
  return sections;
}

bool passes(const Row& row, const std::string& filter) {
  if (filter.empty()) return true;
  const std::string text = row.function + ' ' + parametersText(row.parameters) + ' ' + row.unit +
                           ' ' + resultName(row.result);
  return containsWords(text, filter);
}

std::vector<const Row*> filtered(const std::vector<Row>& rows, const std::string& filter) {
  std::vector<const Row*> kept;
  for (const Row& row : rows) {
    if (passes(row, filter)) kept.push_back(&row);
  }
  return kept;
}

}  // namespace report

// Preset, ini file, console, default: the first that has a value gives it.
#include "tzistream.h"

#include <algorithm>

#include "tzinterrupt.h"

tzIStream g_istrm;

void tzDataList::add(const tzString& name, const tzString& value) {
  for (tzDataItem& item : *this) {
    if (item.name == name) {
      item.value = value;
      return;
    }
  }
  push_back({name, value});
}

const tzString* tzDataList::find(const tzString& name) const {
  const auto it =
      std::find_if(begin(), end(), [&](const tzDataItem& item) { return item.name == name; });
  return it == end() ? nullptr : &it->value;
}

tzIStream::~tzIStream() {
  deleteIStream();
  deleteIniFile();
}

bool tzIStream::setIniFile(const tzString& name, bool create) {
  deleteIniFile();
  if (create) return setIniTarget(name);
  m_iniFile = std::make_unique<tzIniFile>();
  return m_iniFile->open(io_stream::pathIn(io_stream::inputDir(), name), false);
}

bool tzIStream::setIniTarget(const tzString& name) {
  m_target = std::make_unique<tzIniFile>();
  return m_target->open(io_stream::pathIn(io_stream::inputDir(), name), true);
}

bool tzIStream::deleteIniFile() {
  const bool good = m_target == nullptr || m_target->close();
  m_iniFile.reset();
  m_target.reset();
  return good;
}

void tzIStream::abandonIniFile() {
  if (m_target != nullptr) m_target->abandon();
  deleteIniFile();
}

bool tzIStream::hasIniSection(const tzString& name) const {
  return hasIniFile() && iniFile()->sectionExist(name);
}

tzString tzIStream::setIniSection(const tzString& name) {
  tzString before = m_section;
  m_section = name;
  return before;
}

void tzIStream::setIStream(i_stream* reader) {
  if (reader != m_reader) delete m_reader;
  m_reader = reader;
  m_readerEnded = false;
}

void tzIStream::deleteIStream() { setIStream(nullptr); }

bool tzIStream::setPreset(const tzString& definition) {
  const int equals = definition.find("=");
  if (equals < 0) return false;
  tzString name = definition.substr(0, equals);
  tzString value = definition.substr(equals + 1);
  name.trim();
  value.trim();
  if (name.empty()) return false;
  setPreset(name, value);
  return true;
}

tzString tzIStream::iniValue(const tzString& name) const {
  for (const tzIniFile* file : {m_iniFile.get(), m_target.get()}) {
    tzString value = file != nullptr ? file->read(m_section, name, "") : tzString();
    if (!value.empty()) return value;
  }
  return "";
}

tzString tzIStream::getItemValue(const tzString& name, const tzString& byDefault,
                                 const tzString& prompt, const tzString&) {
  tzString value;
  addAsked(name.str());
  addAsked(m_section.str() + "]" + name.str());
  m_lastSource = m_reader != nullptr ? SRC_CONSOLE : SRC_DEFAULT;
  if (const tzString* preset = m_presets.find(name)) {
    value = *preset;
    m_lastSource = SRC_PRESET;
  } else {
    value = iniValue(name);
    if (!value.empty()) m_lastSource = SRC_INI;
  }
  if (m_lastSource == SRC_CONSOLE) {
    value = askConsole(prompt.empty() ? name : prompt, byDefault);
    if (value.empty()) m_lastSource = SRC_DEFAULT;
  }
  if (m_lastSource == SRC_DEFAULT) value = byDefault;
  writeBack(name, value);
  return value;
}

void tzIStream::addAsked(const std::string& what) {
  if (m_asked.insert(what).second) m_askedInOrder.push_back(what);
}

void tzIStream::writeBack(const tzString& name, const tzString& value) {
  if (m_target != nullptr) m_target->write(m_section, name, value);
}

tzStringList tzIStream::unaskedPresets() const {
  tzStringList names;
  for (const tzDataItem& preset : m_presets) {
    if (!m_asked.contains(preset.name.str())) names.push_back(preset.name);
  }
  return names;
}

tzStringList tzIStream::unaskedKeys(const tzString& section) const {
  tzStringList keys;
  const tzValues* const values = m_iniFile ? m_iniFile->getSectionValues(section) : nullptr;
  if (values == nullptr) return keys;
  for (const tzIniValue& item : *values) {
    if (!m_asked.contains(section.str() + "]" + item.key.str())) keys.push_back(item.key);
  }
  return keys;
}

/// The answer, empty for the default. Where the input has ended nothing is asked any more.
tzString tzIStream::askConsole(const tzString& prompt, const tzString& byDefault) {
  tzString answer;
  if (m_readerEnded) return answer;
  g_ostrm.flush();
  c_out << "\n " + prompt + " [" + byDefault + "] = ";
  c_out.flush();
  if (m_pAsking != nullptr) m_pAsking(true);
  {
    const tzInterrupt::Reading reading;
    m_readerEnded = tzInterrupt::signal() != 0 || !m_reader->getline(answer);
  }
  if (m_pAsking != nullptr) m_pAsking(false);
  if (m_readerEnded) c_out << "\n";
  return answer;
}

tzConsoleAsking::tzConsoleAsking(bool on) : m_owner(on && !g_istrm.hasIStream()) {
  if (m_owner) g_istrm.setIStream(new i_stream);
}

tzConsoleAsking::~tzConsoleAsking() {
  if (m_owner) g_istrm.deleteIStream();
}

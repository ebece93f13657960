#include "tzistream.h"

#include <algorithm>

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
  m_iniFile = new tzIniFile;
  m_writeBack = create;
  return m_iniFile->open(io_stream::pathIn(io_stream::inputDir(), name), create);
}

bool tzIStream::deleteIniFile() {
  const bool good = m_iniFile == nullptr || m_iniFile->close();
  delete m_iniFile;
  m_iniFile = nullptr;
  m_writeBack = false;
  return good;
}

bool tzIStream::hasIniSection(const tzString& name) const {
  return m_iniFile != nullptr && m_iniFile->sectionExist(name);
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

tzString tzIStream::getItemValue(const tzString& name, const tzString& byDefault,
                                 const tzString& prompt, const tzString&) {
  tzString value;
  m_source = m_reader != nullptr ? SRC_CONSOLE : SRC_DEFAULT;
  if (const tzString* preset = m_presets.find(name)) {
    value = *preset;
    m_source = SRC_PRESET;
  } else if (m_iniFile != nullptr) {
    value = m_iniFile->read(m_section, name, "");
    if (!value.empty()) m_source = SRC_INI;
  }
  if (m_source == SRC_CONSOLE) {
    value = askConsole(prompt.empty() ? name : prompt, byDefault);
    if (value.empty()) m_source = SRC_DEFAULT;
  }
  if (m_source == SRC_DEFAULT) value = byDefault;
  if (m_writeBack && m_iniFile != nullptr) m_iniFile->write(m_section, name, value);
  return value;
}

/// The answer, empty for the default. Where the input has ended nothing is asked any more.
tzString tzIStream::askConsole(const tzString& prompt, const tzString& byDefault) {
  tzString answer;
  if (m_readerEnded) return answer;
  g_ostrm.flush();
  c_out << "\n " + prompt + " [" + byDefault + "] = ";
  c_out.flush();
  m_readerEnded = !m_reader->getline(answer);
  if (m_readerEnded) c_out << "\n";
  return answer;
}

tzConsoleAsking::tzConsoleAsking(bool on) : m_owner(on && !g_istrm.hasIStream()) {
  if (m_owner) g_istrm.setIStream(new i_stream);
}

tzConsoleAsking::~tzConsoleAsking() {
  if (m_owner) g_istrm.deleteIStream();
}

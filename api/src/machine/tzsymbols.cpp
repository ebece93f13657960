// Dynamic symbol tables of the loaded libraries.
#include "tzsymbols.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Search {
  std::string_view prefix;
  std::string_view library;
  std::vector<std::string> names;
};

// What the dynamic section of a loaded object tells of its symbols.
struct SymbolTable {
  const ElfW(Sym) * symbols = nullptr;
  const char* texts = nullptr;
  const uint32_t* gnuHash = nullptr;
  const uint32_t* sysvHash = nullptr;

  // The number of symbols is told by the hash tables alone.
  size_t count() const {
    if (sysvHash != nullptr) return sysvHash[1];
    return gnuHash != nullptr ? gnuCount() : 0;
  }

 private:
  // The highest symbol of any bucket, and from there to the end of its chain.
  size_t gnuCount() const {
    const uint32_t numBuckets = gnuHash[0];
    const uint32_t firstHashed = gnuHash[1];
    const uint32_t bloomWords = gnuHash[2];
    const uint32_t* buckets = gnuHash + 4 + bloomWords * (sizeof(ElfW(Addr)) / sizeof(uint32_t));
    const uint32_t* chains = buckets + numBuckets;
    uint32_t last = 0;
    for (uint32_t i = 0; i < numBuckets; ++i) last = std::max(last, buckets[i]);
    if (last < firstHashed) return firstHashed;
    while ((chains[last - firstHashed] & 1) == 0) ++last;
    return size_t{last} + 1;
  }
};

template <class T>
T addressOf(const dl_phdr_info& object, ElfW(Addr) address) {
  // The loader relocates these entries on most machines, but not in the kernel's own object.
  const ElfW(Addr) at = address < object.dlpi_addr ? object.dlpi_addr + address : address;
  return reinterpret_cast<T>(at);
}

SymbolTable tableOf(const dl_phdr_info& object) {
  SymbolTable table;
  for (int i = 0; i < object.dlpi_phnum; ++i) {
    if (object.dlpi_phdr[i].p_type != PT_DYNAMIC) continue;
    const ElfW(Addr) at = object.dlpi_addr + object.dlpi_phdr[i].p_vaddr;
    for (auto* entry = reinterpret_cast<const ElfW(Dyn)*>(at); entry->d_tag != DT_NULL; ++entry) {
      const ElfW(Addr) value = entry->d_un.d_ptr;
      switch (entry->d_tag) {
        case DT_SYMTAB:
          table.symbols = addressOf<const ElfW(Sym)*>(object, value);
          break;
        case DT_STRTAB:
          table.texts = addressOf<const char*>(object, value);
          break;
        case DT_GNU_HASH:
          table.gnuHash = addressOf<const uint32_t*>(object, value);
          break;
        case DT_HASH:
          table.sysvHash = addressOf<const uint32_t*>(object, value);
          break;
        default:
          break;
      }
    }
  }
  return table;
}

bool isExportedFunction(const ElfW(Sym) & symbol) {
  const unsigned type = symbol.st_info & 0xF;
  const unsigned binding = symbol.st_info >> 4;
  const unsigned visibility = symbol.st_other & 0x3;
  return symbol.st_shndx != SHN_UNDEF && (type == STT_FUNC || type == STT_GNU_IFUNC) &&
         (binding == STB_GLOBAL || binding == STB_WEAK) &&
         (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

int collect(dl_phdr_info* object, size_t, void* argument) {
  auto& search = *static_cast<Search*>(argument);
  std::string_view file = object->dlpi_name != nullptr ? object->dlpi_name : "";
  file = file.substr(file.rfind('/') + 1);
  if (!file.starts_with(search.library)) return 0;
  const SymbolTable table = tableOf(*object);
  if (table.symbols == nullptr || table.texts == nullptr) return 0;
  for (size_t i = 0, count = table.count(); i < count; ++i) {
    const ElfW(Sym)& symbol = table.symbols[i];
    const std::string_view name = table.texts + symbol.st_name;
    if (isExportedFunction(symbol) && name.starts_with(search.prefix)) {
      search.names.emplace_back(name);
    }
  }
  return 0;
}

}  // namespace

int tzListExportedFunctions(tzStringList& names, const tzString& prefix, const tzString& library) {
  Search search{prefix.c_str(), library.c_str(), {}};
  dl_iterate_phdr(collect, &search);
  std::sort(search.names.begin(), search.names.end());
  search.names.erase(std::unique(search.names.begin(), search.names.end()), search.names.end());
  for (const std::string& name : search.names) names.push_back(name);
  return static_cast<int>(search.names.size());
}

#include "listing.h"
namespace j2k {
void listStructure(const BoxInfo&, const Codestream&, Diagnostics&) {}
}  // namespace j2k

// PrintableText: a message as it may be written to a terminal.
//
// Messages quote header names, cell texts and job strings as they are; a
// control byte among them would move the cursor, recolour or clear the
// screen, or vanish. Escape() shows each byte below 0x20 (tab and line
// breaks included, so that a message stays one visible line) and 0x7f as
// \xHH, and so does the UTF-8 form of the C1 controls U+0080..U+009F
// (\xc2\x9b), which some terminals obey too. Everything else, other UTF-8
// and backslashes included, is kept as it is.
//
// Stateless; safe to call from any thread.
#ifndef STATTREE_TOOLS_PRINTABLE_TEXT_H_
#define STATTREE_TOOLS_PRINTABLE_TEXT_H_

#include <string>

namespace stattree {
namespace cli {

class PrintableText {
 public:
  static std::string Escape(const std::string& text);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_PRINTABLE_TEXT_H_

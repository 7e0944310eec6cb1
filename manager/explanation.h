#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <vector>

namespace kest {

class CKestProduct;

/// Which products here an extension can be installed in, and why not in the others.
struct KEST_API Explanation {
  /// One product line of the description, held against one product of the machine.
  struct Rule {
    CString wantedName;      ///< as the description writes it
    CString wantedVersion;   ///< empty when it names none
    bool isPrimary = false;  ///< of the description's products
    bool isRequired = false; ///< as the description has it
    bool isMet = false;      ///< the product of the machine is one that the line means
    CString words;           ///< why, as a sentence without its full stop
  };
  /// Where one file would go.
  struct Place {
    CString source;      ///< as the description names it
    CString destination; ///< windows path; empty when it goes nowhere
    CString why;         ///< of a file that goes nowhere
  };
  /// One product of the machine.
  struct Candidate {
    const CKestProduct* product = nullptr; ///< borrowed
    bool fits = false;                     ///< an install takes it
    std::vector<Rule> rules;               ///< in the order of the description
    std::vector<Place> files;              ///< of a product that fits
  };
  std::vector<Candidate> candidates; ///< the products found, in their order
  std::vector<CString> obstacles;    ///< what keeps it out of every product, such as a required one that is not here
  CString nearest;                   ///< what would do when none fits, as a sentence without its full stop

  [[nodiscard]] bool Fits() const; ///< whether any product does
};

} // namespace kest

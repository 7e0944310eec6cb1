#include "description/description_observer.h"

namespace kest {

void DescriptionObserver::OnUnknownAttribute(int, std::string_view, std::string_view) {}
void DescriptionObserver::OnDropped(int, std::string_view, std::string_view) {}
void DescriptionObserver::OnForeignChange(int, std::string_view, std::string_view) {}
void DescriptionObserver::OnFailure(int, std::string_view) {}

} // namespace kest

// CQZWebsite::PauseWebsite: kept in the interface; it does nothing.
#include "CQZWebsite.h"

char CQZWebsite::PauseWebsite(const char* /*Name*/) { return 0; }

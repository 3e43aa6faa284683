// CQZWebsite::PauseWebsite and ContinueWebsite: kept in the interface; they do nothing.
#include "CQZWebsite.h"

char CQZWebsite::PauseWebsite(const char* /*Name*/) { return 0; }

char CQZWebsite::ContinueWebsite(const char* /*Name*/) { return 0; }

// ApacheHelper construction: the toolkit holds nothing.
#include "ApacheHelper.h"

ApacheHelper::ApacheHelper() {}

// What the user asked, before anything has been.
#include "tzrequest.h"

tzRequest g_request;
long long g_dataSeed = 0;

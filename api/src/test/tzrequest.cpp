#include "tzrequest.h"

tzRequest g_request;

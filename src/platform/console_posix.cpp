#include "console.h"

void attachStandardStreams()
{
}

#pragma once

#include "core/InstanceId.h"

/// A class of which both the test program and the module make objects.
class Counted : public Core::InstanceId<Counted>
{
};

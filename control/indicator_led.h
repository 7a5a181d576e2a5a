// The indicator LED.
#ifndef TORVIK_CONTROL_INDICATOR_LED_H
#define TORVIK_CONTROL_INDICATOR_LED_H

#include "control/control_context.h"

/// 1 lights the LED, 0 switches it off. True when the command was sent.
bool TurnOnOffLED(const ControlContext& context, unsigned char on);

#endif

#pragma once

#include "app/FlowController.h"

struct Hardware;

/// Hears of the program's life and hands over to the flow of its windows.
class AppDelegate
{
public:
    explicit AppDelegate(const Hardware &hardware);

    void applicationDidFinishLaunching();

    FlowController flowConroller;
};

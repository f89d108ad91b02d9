#pragma once

class AppEvents;
class AppSettings;

class AppDelegate
{
public:
    // On a first run, or while onboarding is unfinished, asks for the main window
    // shortly after launch so the walkthrough comes up even from the tray.
    static void applicationDidFinishLaunching(const AppSettings &settings, AppEvents &events);

    static constexpr int openWindowDelayMs = 300;
};

/// A terminal as a screen that is drawn in place.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The alternate screen of the terminal. The terminal is as it was before once this ends, also by a
/// signal. There is at most one.
class Screen {
public:
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen(Screen&&) = delete;
    Screen& operator=(const Screen&) = delete;
    Screen& operator=(Screen&&) = delete;

    /// The size of the window, in characters.
    struct Size {
        size_t columns;
        size_t rows;
    };
    static Size size();

    /// Draws lines that fit, in place of everything shown.
    static void draw(const std::vector<std::string>& lines);

    enum class Wake { time, resize, quit };

    /// Waits for some seconds, until the window has another size, or for the key q.
    static Wake wait(double seconds);
};

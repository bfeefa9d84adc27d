// A window that has a picture for every source of the form p<width>x<height>, "p" alone being 20x10.
#pragma once

#include "Platform/gdi.h"
#include "Platform/windows.h"
#include "QNGridCtrl/HTMLImage.h"
#include "QNGridCtrl/HTMLParser.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

class PictureOwner {
public:
    static constexpr int kLargest = 999;

    PictureOwner() {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = &Procedure;
        windowClass.lpszClassName = u"PictureOwner";
        RegisterClassW(&windowClass);
        m_window =
            CreateWindowExW(0, u"PictureOwner", u"", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
        SetWindowLongW(m_window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~PictureOwner() {
        DestroyWindow(m_window);
        UnregisterClassW(u"PictureOwner", nullptr);
        for (const auto& [size, picture] : m_pictures) DeleteObject(picture.bitmap);
    }
    PictureOwner(const PictureOwner&) = delete;
    PictureOwner& operator=(const PictureOwner&) = delete;

    HWND Window() const { return m_window; }
    bool fromResource = false; // what it answers
    NMHDR asked{};             // last, and for which source
    std::u16string source;

private:
    struct Picture {
        HBITMAP bitmap;
        CHTMLImage image;
        Picture(int width, int height)
            : bitmap(CreateCompatibleBitmap(nullptr, width, height)), image(bitmap) {}
    };

    static LRESULT Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* owner = reinterpret_cast<PictureOwner*>(GetWindowLongW(window, GWL_USERDATA));
        if (message != WM_NOTIFY || !owner) return DefWindowProcW(window, message, wParam, lParam);
        return owner->Answer(*reinterpret_cast<tagNM_IMAGENOTIFY*>(lParam));
    }
    LRESULT Answer(tagNM_IMAGENOTIFY& ask) {
        asked = ask.hdr;
        source = ask.pszSource;
        int width = 20, height = 10;
        if (const WCHAR* at = ask.pszSource; *at == u'p' && at[1] != 0) {
            width = Number(++at);
            height = *at == u'x' ? Number(++at) : 0;
        }
        ask.bFromResource = fromResource;
        ask.pImage = &m_pictures.try_emplace({width, height}, width, height).first->second.image;
        return *ask.pszSource == u'p'; // otherwise the picture does not count
    }
    static int Number(const WCHAR*& at) {
        int number = 0;
        for (; *at >= u'0' && *at <= u'9'; ++at) number = std::min(number * 10 + (*at - u'0'), kLargest);
        return number;
    }

    HWND m_window;
    std::map<std::pair<int, int>, Picture> m_pictures;
};

// The tip: where it stands, and what a tap on it does. Text is 6 pixels a character and 14 high.
#include "QNGridCtrl/HTMLGridRecords.h"
#include "QNGridCtrl/HTMLToolTip.h"
#include "tests/support/device.h"
#include "tests/support/narrow.h"

#include <optional>
#include <string>

namespace {

class Parent : public CeWnd {
public:
    Parent() { Create(nullptr, nullptr, RECT{0, 0, 200, 100}, nullptr, WS_VISIBLE); }
    ~Parent() override { DestroyWindow(); }
    LRESULT OnNotify(int, NMHDR* header, bool& handled) override {
        handled = true;
        m_told += std::to_string(header->code);
        if (header->code == GRIDN_HOT_SPOT)
            m_told += " " + Narrow(reinterpret_cast<tagNM_GRIDVIEW*>(header)->pszHotSpot);
        m_told += "\n";
        return 0;
    }
    LRESULT OnLButtonUp(WPARAM, POINT point, bool& handled) override {
        handled = true;
        m_told += "up " + std::to_string(point.x) + "," + std::to_string(point.y) + "\n";
        return 0;
    }
    std::string m_told;
};

class ToolTip : public DeviceTest {
protected:
    ToolTip() {
        PlatUseFixedWidthText(true);
        m_parent.emplace();
        m_tip.emplace(*m_parent);
    }
    ~ToolTip() override {
        m_tip.reset();
        m_parent.reset();
    }
    std::string Shown(POINT anchor, int position, LPCWSTR text, bool big = false) {
        m_tip->ShowToolTip(anchor, position);
        m_tip->UpdateToolTip(text, big);
        if (!m_tip->IsWindowVisible()) return "hidden";
        RECT r{};
        m_tip->GetWindowRect(&r);
        return std::to_string(r.left) + "," + std::to_string(r.top) + " " + std::to_string(r.right - r.left) +
               "x" + std::to_string(r.bottom - r.top);
    }

    std::optional<Parent> m_parent;
    std::optional<CHTMLToolTip> m_tip;
};

TEST_F(ToolTip, StandsWithACornerOnItsPointInsideTheParent) {
    const struct {
        POINT anchor;
        int position;
        const char16_t* text;
        bool big;
        const char* expected;
    } table[] = {
        {{50, 40}, TIP_TOP_LEFT, u"12345", false, "50,40 40x16"},
        {{50, 40}, TIP_TOP_LEFT, u"12345", true, "50,40 46x20"},
        {{50, 40}, TIP_BOTTOM_LEFT, u"12345", false, "50,24 40x16"},
        {{50, 40}, TIP_TOP_RIGHT, u"12345", false, "10,40 40x16"},
        {{50, 40}, TIP_BOTTOM_RIGHT, u"12345", false, "10,24 40x16"},
        {{5, 5}, TIP_BOTTOM_RIGHT, u"12345", false, "0,0 40x16"},
        {{190, 95}, TIP_TOP_LEFT, u"12345", false, "160,84 40x16"},
        {{50, 40}, TIP_TOP_LEFT, u"1<BR>2<BR>3<BR>4<BR>5<BR>6<BR>7<BR>8", false, "50,0 16x114"}, // too tall
        {{50, 40}, TIP_TOP_LEFT, nullptr, false, "hidden"},
    };
    for (const auto& row : table)
        EXPECT_EQ(Shown(row.anchor, row.position, row.text, row.big), row.expected) << row.expected;
}

TEST_F(ToolTip, ATapTellsItsSpotAndTheReleaseGoesOn) {
    Shown({0, 0}, TIP_TOP_LEFT, u"no link");
    m_tip->UpdateWindow();
    m_tip->SendMessageW(WM_LBUTTONDOWN, 0, MAKELPARAM(3, 4));
    EXPECT_EQ(m_parent->m_told, "");
    Shown({0, 0}, TIP_TOP_LEFT, u"text <A=\"OID:7\">link</A><A=\"x\">y</A>");
    m_tip->UpdateWindow(); // spots are found by painting
    m_tip->SendMessageW(WM_LBUTTONDOWN, 0, MAKELPARAM(3, 4));
    m_tip->SendMessageW(WM_LBUTTONUP, 0, MAKELPARAM(3, 4));
    EXPECT_EQ(m_parent->m_told, "1125 OID:7\nup 3,4\n");
}

TEST_F(ToolTip, AsksTheParentForImages) {
    Shown({0, 0}, TIP_TOP_LEFT, u"<IMG SRC=12>");
    EXPECT_EQ(m_parent->m_told, "2074\n");
}

} // namespace

import time
from harness.editor import Editor
def test_try(start_desktop):
    desktop = start_desktop()
    desktop.start_polling_program()
    e = Editor(desktop)
    desktop.service.report("A")
    box = desktop.person.wait_for_box("A")
    print(desktop.person.windows("A")[0].types, desktop.person.focused_window()==e.window.id, hex(box.window.id))
    for i in range(3):
        desktop.person.press("Alt_L","Tab")
        time.sleep(0.5)
        print(i, desktop.person.focused_window()==box.window.id)
        desktop.take_screenshot(f"try{i}")
    s = desktop.person._ask
    p = desktop.sandbox.run(["xdotool","keydown","alt","key","--delay","200","Tab"])
    time.sleep(0.3); desktop.take_screenshot("try-mid")
    desktop.sandbox.run(["xdotool","keyup","alt"])
    time.sleep(0.5)
    print(desktop.person.focused_window()==box.window.id)

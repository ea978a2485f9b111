#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# The control panel in a real browser: headless Chromium opens the page with its token, an application starts a
# session, the page shows it within two seconds, and the page's "send as peer" control makes the application's
# callback receive the text. Saves a screenshot of the page.
# Usage: panel_browser_test.py <tarnby_emulator_server> <panel_client> <screenshot.png>
import os
import re
import shutil
import subprocess
import sys
import tempfile

SKIP = 77


def main():
    server_path, client_path, screenshot = sys.argv[1:4]
    chromedriver = shutil.which("chromedriver") or "/usr/bin/chromedriver"
    chromium = shutil.which("chromium") or shutil.which("chromium-browser")
    try:
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
        from selenium.webdriver.common.by import By
        from selenium.webdriver.support import expected_conditions
        from selenium.webdriver.support.ui import WebDriverWait
    except ImportError:
        print("skipped: python3-selenium is not installed")
        return SKIP
    if chromium is None or not os.path.exists(chromedriver):
        print("skipped: chromium or chromium-driver is not installed")
        return SKIP

    registry = tempfile.mkdtemp(prefix="panel-browser-")
    os.chmod(registry, 0o700)
    env = dict(os.environ, OHOS_HOST_IPC_DIR=registry)
    server = subprocess.Popen([server_path, "--http", "127.0.0.1:0"], env=env, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True)
    client = None
    driver = None
    try:
        url = None
        for line in server.stdout:
            match = re.search(r"control panel: (http://\S+)", line)
            if match:
                url = match.group(1)
                break
        if url is None:
            print("FAILED: the server printed no panel address")
            return 1

        options = webdriver.ChromeOptions()
        options.binary_location = chromium
        for flag in ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--window-size=1280,900", "--user-data-dir=" + tempfile.mkdtemp(prefix="panel-chromium-")]:
            options.add_argument(flag)
        driver = webdriver.Chrome(service=Service(chromedriver), options=options)
        driver.get(url)
        WebDriverWait(driver, 10).until(lambda d: d.find_element(By.ID, "live").text == "live")

        client = subprocess.Popen([client_path], env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                  text=True)
        started = client.stdout.readline()
        match = re.match(r"session (\d+) started: 0", started)
        if not match:
            print("FAILED: the application could not start its session:", started.strip())
            return 1
        session = match.group(1)
        # The page shows the session within two seconds, pushed to it (the page does not poll).
        WebDriverWait(driver, 2).until(expected_conditions.text_to_be_present_in_element(
            (By.ID, "sessions"), "ability com.example.chat/Chat on peer-net"))
        print("the page shows session", session)

        text = "hello from the page"
        select = driver.find_element(By.ID, "peer-session")
        WebDriverWait(driver, 2).until(lambda d: any(o.get_attribute("value") == session
                                                     for o in select.find_elements(By.TAG_NAME, "option")))
        driver.execute_script("arguments[0].value = arguments[1]", select, session)
        box = driver.find_element(By.ID, "peer-text")
        box.clear()
        box.send_keys(text)
        driver.find_element(By.ID, "peer-send").click()
        received = client.stdout.readline().strip()
        if received != "received: " + text:
            print("FAILED: the application's callback got", repr(received))
            return 1
        print("the application's callback received:", text)
        WebDriverWait(driver, 5).until(expected_conditions.text_to_be_present_in_element(
            (By.ID, "trace"), "SessionMessage"))
        # The peer's message, opened to its decoded fields, for the picture.
        for entry in driver.find_elements(By.CSS_SELECTOR, "#trace details"):
            if "SessionMessage" in entry.text:
                entry.find_element(By.TAG_NAME, "summary").click()
        driver.save_screenshot(screenshot)
        print("screenshot:", screenshot)
        return 0
    finally:
        if driver is not None:
            driver.quit()
        for process in (client, server):
            if process is not None:
                process.kill()
                process.wait()
        shutil.rmtree(registry, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())

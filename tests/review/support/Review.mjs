// A running `quinrep review` and the browser in front of it.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { after, beforeEach } from 'node:test';
import { pathToFileURL } from 'node:url';
import { Practice } from './Practice.mjs';

const { chromium } = createRequire(join(process.env.REVIEW_MODULES, 'package.json'))('playwright-core');
const kChromiumOptions = ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync'];

const kShortcuts = '[[table]]\nname = "shortcut"\nmethod = "one_way"\n';

/// The file of decisions beside a site's log.
export const decisionLogOf = (site) => `review-${site}.decisions.jsonl`;

export function lastDecision(site) {
    return JSON.parse(readFileSync(decisionLogOf(site), 'utf8').trimEnd().split('\n').at(-1));
}

function configuration(site, tables) {
    const side = (dsn, prefix) => `dsn = "${dsn}"\nprefix = "${prefix}"\npassword = "env:QUINMARK_PASSWORD"\n`;
    return `site = "${site}"
local = "${site === 'laptop' ? 'destination' : 'source'}"
program_version = "laptop"
[source]
${side(process.env.QUINMARK_OFFICE_DSN, process.env.QUINMARK_OFFICE_PREFIX)}
[destination]
${side(process.env.QUINMARK_LAPTOP_DSN, process.env.QUINMARK_LAPTOP_PREFIX)}
[log]
file = "review-${site}.log"
${tables}`;
}

function startQuinrep(site, command, tables = kShortcuts) {
    const file = `review-${site}.toml`;
    writeFileSync(file, configuration(site, tables));
    return spawn('wine', [process.env.QUINREP, '-c', file, ...command], { stdio: ['ignore', 'pipe', 'inherit'] });
}

/// Runs `quinrep run` at the laptop with these tables; its exit status, and the address of report-NAME.html.
export async function report(name, tables, ...options) {
    const file = `report-${name}.html`;
    const command = ['-q', 'run', '--ready', '--reset-error', '--report', file, ...options];
    const quinrep = startQuinrep('laptop', command, tables);
    quinrep.stdout.resume();
    const [status] = await once(quinrep, 'exit');
    return { status, address: pathToFileURL(file).href };
}

export class Review {
    /// Starts the review of a site ("laptop" or "offices") and waits for its address.
    static async start(site, tables) {
        const review = new Review();
        review.process = startQuinrep(site, ['review'], tables);
        review.exit = once(review.process, 'exit');
        const lines = createInterface({ input: review.process.stdout });
        [review.address] = await Promise.race([
            once(lines, 'line'),
            review.exit.then(([code]) => { throw new Error(`quinrep ended with status ${code}`); }),
        ]);
        review.address = review.address.trim();
        review.origin = new URL(review.address).origin;
        return review;
    }

    /// Sends a form as the page itself would.
    post(path, fields = {}, headers = {}) {
        return fetch(this.address + path, {
            method: 'POST', redirect: 'manual', body: new URLSearchParams(fields),
            headers: { Origin: this.origin, ...headers },
        });
    }

    /// Ends the review through its page; the exit status.
    async stop() {
        if (this.process.exitCode === null) await this.post('quit');
        const [code] = await this.exit;
        return code;
    }
}

export class Browser {
    static async start() {
        const browser = new Browser();
        browser.profile = mkdtempSync(join(tmpdir(), 'review-profile-'));
        browser.context = await chromium.launchPersistentContext(browser.profile, {
            executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', headless: true, args: kChromiumOptions,
            viewport: { width: 1280, height: 900 },
        });
        browser.context.setDefaultTimeout(15000);
        browser.requests = [];
        browser.context.on('request', (request) => browser.requests.push(request.url()));
        browser.page = browser.context.pages()[0];
        return browser;
    }

    /// Keeps what the page shows as NAME.png beside the test's other output.
    screenshot(name) {
        return this.page.screenshot({ path: `${name}.png`, fullPage: true });
    }

    /// The page as NAME-WIDTH-SCHEME.png for a desktop and a phone, light and dark; never wider than its window.
    async views(name) {
        for (const [width, height] of [[1280, 900], [390, 844]]) {
            await this.page.setViewportSize({ width, height });
            for (const colorScheme of ['light', 'dark']) {
                await this.page.emulateMedia({ colorScheme });
                await this.screenshot(`${name}-${width}-${colorScheme}`);
            }
            const overflow = await this.page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
            assert.ok(overflow <= 0, `${name} is ${overflow} pixels too wide for ${width}`);
        }
        await this.page.emulateMedia({ colorScheme: 'light' });
        await this.page.setViewportSize({ width: 1280, height: 900 });
    }

    async stop() {
        await this.context.close();
        rmSync(this.profile, { recursive: true, force: true });
    }
}

/// What a test file works with: a review of a site and a browser that live as long as its tests, and a practice
/// without conflicts before each.
export async function openBench(site, tables) {
    const practice = new Practice();
    const review = await Review.start(site, tables);
    const browser = await Browser.start().catch(async (error) => {
        await review.stop();
        throw error;
    });
    after(async () => {
        await browser.stop();
        const code = await review.stop();
        practice.clear();
        assert.equal(code, 0);
    });
    beforeEach(() => practice.clear());
    return { practice, review, browser, page: browser.page };
}

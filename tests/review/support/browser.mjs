// The practice, the browser and the reviews that all test files of a process share. Each test begins without conflicts.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, beforeEach } from 'node:test';
import { Practice } from './Practice.mjs';
import { Review } from './Review.mjs';

const modules = createRequire(join(process.env.REVIEW_MODULES, 'package.json'));
const { chromium } = modules('playwright-core');
const axe = readFileSync(modules.resolve('axe-core/axe.min.js'), 'utf8');
export const kPhone = { width: 390, height: 844 };
export const kDesktop = { width: 1280, height: 900 };
const profile = mkdtempSync(join(tmpdir(), 'review-profile-'));
const context = await chromium.launchPersistentContext(profile, {
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', headless: true,
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
        '--disable-component-update', '--disable-sync'],
    viewport: kDesktop,
});
context.setDefaultTimeout(60000);

export const page = context.pages()[0];
export const practice = new Practice();
export const { office, laptop } = practice;

/// The addresses that the browser has asked for.
export const requests = [];
context.on('request', (request) => requests.push(request.url()));

const reviews = new Map();

/// The review of a site, started for the first who wants it.
export function reviewAt(site) {
    if (!reviews.has(site)) reviews.set(site, Review.start(site));
    return reviews.get(site);
}

export const button = (name) => page.getByRole('button', { name, exact: true });
export const press = (name) => button(name).click();
/// Presses Alt with a letter as a keyboard does; the page's own keyboard leaves out the letter's text.
export async function pressAccessKey(letter) {
    const session = await context.newCDPSession(page);
    await session.send('Input.dispatchKeyEvent', { type: 'keyDown', modifiers: 1, key: letter,
        unmodifiedText: letter, windowsVirtualKeyCode: letter.toUpperCase().charCodeAt(0) });
    await session.detach();
}

export const notice = () => page.textContent('[role=status]');
export const trouble = () => page.textContent('[role=alert]');

/// What scrolls sideways, the page itself too.
function scrollsSideways() {
    return page.evaluate(() => [...document.querySelectorAll('*')].filter((element) =>
        element.scrollWidth > element.clientWidth && (element === document.documentElement ||
            ['auto', 'scroll'].includes(getComputedStyle(element).overflowX)))
        .map((element) => element.outerHTML.slice(0, 100)));
}

/// The page fits a phone and a desktop, on each of which it is also looked at.
export async function assertFits(look = () => {}) {
    for (const size of [kPhone, kDesktop]) {
        await page.setViewportSize(size);
        assert.deepEqual(await scrollsSideways(), [], `${size.width}`);
        assert.deepEqual(await brokenWords(), [], `${size.width}`);
        await look(size);
    }
}

/// Every reader can use the page: it fits, and has no fault of access by day or by night. Its pictures are kept.
export async function assertLooksRight(name) {
    mkdirSync('pictures', { recursive: true });
    await assertFits(async (size) => {
        for (const colorScheme of ['light', 'dark']) {
            await page.emulateMedia({ colorScheme });
            await page.screenshot({ path: `pictures/${name}-${size.width}-${colorScheme}.png`, fullPage: true });
            if (size === kDesktop) assert.deepEqual(await faultsOfAccess(colorScheme), [], `${name}, ${colorScheme}`);
        }
    });
    await page.emulateMedia({ colorScheme: null });
}

/// What axe finds wrong on the page for people who see little, or use no mouse; by night only the contrast.
async function faultsOfAccess(colorScheme) {
    await page.evaluate(axe);
    const { violations } = await page.evaluate((options) => window.axe.run(options),
        colorScheme === 'dark' ? { runOnly: ['color-contrast'] } : {});
    return violations.flatMap(({ id, nodes }) => nodes.map(({ html, failureSummary }) => ({ id, html, failureSummary })));
}

/// The words that are broken between two lines although a line would hold them.
function brokenWords() {
    return page.evaluate(() => {
        const broken = [];
        const texts = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
        const range = document.createRange();
        while (texts.nextNode()) {
            const text = texts.currentNode;
            let block = text.parentElement;
            while (getComputedStyle(block).display.startsWith('inline')) block = block.parentElement;
            block = block.closest('.wide') ?? block; // a wide table scrolls
            for (const { 0: word, index } of text.data.matchAll(/[\p{L}\p{N}_]+/gu)) {
                range.setStart(text, index);
                range.setEnd(text, index + word.length);
                const pieces = [...range.getClientRects()];
                const width = pieces.reduce((sum, piece) => sum + piece.width, 0);
                if (new Set(pieces.map(({ top }) => top)).size > 1 && width < block.clientWidth) broken.push(word);
            }
        }
        return broken;
    });
}

/// The numbers of the confirmation page, once it is there.
export async function counts() {
    await page.locator('.counts div').first().waitFor();
    return Object.fromEntries(await page.locator('.counts div').evaluateAll((facts) =>
        facts.map((fact) => [fact.firstChild.textContent, Number(fact.lastChild.textContent)])));
}

beforeEach(() => practice.clear());
after(async () => {
    await context.close();
    rmSync(profile, { recursive: true, force: true });
    const codes = [];
    for (const review of reviews.values()) codes.push(await (await review).stop());
    await practice.clear();
    practice.close();
    assert.deepEqual(codes, codes.map(() => 0));
});

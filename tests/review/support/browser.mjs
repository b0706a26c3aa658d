// The practice, the browser and the reviews that all test files of a process share. Each test begins without conflicts.
import assert from 'node:assert/strict';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, beforeEach } from 'node:test';
import { Practice } from './Practice.mjs';
import { Review } from './Review.mjs';

const modules = createRequire(join(process.env.REVIEW_MODULES, 'package.json'));
const { chromium } = modules('playwright-core');
const axe = readFileSync(modules.resolve('axe-core/axe.min.js'), 'utf8');
const profile = mkdtempSync(join(tmpdir(), 'review-profile-'));
const context = await chromium.launchPersistentContext(profile, {
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', headless: true,
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
        '--disable-component-update', '--disable-sync'],
    viewport: { width: 1280, height: 900 },
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

/// The page fits a desktop and a phone.
export async function assertFits() {
    for (const [width, height] of [[390, 844], [1280, 900]]) {
        await page.setViewportSize({ width, height });
        const overflow = await page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
        assert.ok(overflow <= 0, `the page is ${overflow} pixels too wide for ${width}`);
    }
}

/// What axe finds wrong on the page for people who see little, or use no mouse; by night only the contrast.
export async function faultsOfAccess(colorScheme) {
    await page.evaluate(axe);
    const { violations } = await page.evaluate((options) => window.axe.run(options),
        colorScheme === 'dark' ? { runOnly: ['color-contrast'] } : {});
    return violations.flatMap(({ id, nodes }) => nodes.map(({ html, failureSummary }) => ({ id, html, failureSummary })));
}

/// The words that are broken between two lines although a line would hold them.
export function brokenWords() {
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

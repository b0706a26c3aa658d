// The practice, the browser and the reviews that all test files of a process share. Each test begins without conflicts.
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, beforeEach } from 'node:test';
import { Practice } from './Practice.mjs';
import { Review } from './Review.mjs';

const { chromium } = createRequire(join(process.env.REVIEW_MODULES, 'package.json'))('playwright-core');
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

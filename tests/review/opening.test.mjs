// `quinrep review` opens the browser by itself. A program for this test takes the browser's place.
import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { resolve } from 'node:path';
import { test } from 'node:test';
import { Review } from './support/Review.mjs';
import './support/browser.mjs';

const kFolder = resolve('browser');
const kOpened = resolve('browser', 'opened');

/// Starts a review for which Wine finds the program in the browser's place.
async function startWithBrowser(t, options = [], overrides = process.env.WINEDLLOVERRIDES) {
    rmSync(kOpened, { force: true });
    mkdirSync(kFolder, { recursive: true });
    writeFileSync(`${kFolder}/xdg-open`, `#!/bin/sh\necho "$1" >'${kOpened}'\n`, { mode: 0o755 });
    const review = await Review.start('laptop', { options,
        env: { PATH: `${kFolder}:${process.env.PATH}`, WINEDLLOVERRIDES: overrides } });
    t.after(() => review.stop());
    return review;
}

async function waitFor(condition) {
    const end = Date.now() + 30000;
    while (!condition() && Date.now() < end) await new Promise((done) => setTimeout(done, 50));
    assert.ok(condition());
}

const openedAddress = () => existsSync(kOpened) && readFileSync(kOpened, 'utf8').trim();

test('the browser gets the address that is printed', async (t) => {
    const review = await startWithBrowser(t);
    await waitFor(openedAddress);
    assert.equal(openedAddress(), review.address);
    assert.match(review.told, /^The browser opens this address; Ctrl-C ends the review\./);
    assert.equal((await fetch(review.address)).status, 200);
});

test('--no-browser opens none', async (t) => {
    const review = await startWithBrowser(t, ['--no-browser']);
    assert.equal((await fetch(review.address)).status, 200);
    assert.equal(await review.stop(), 0);
    assert.match(review.told, /^Open this address in a browser on this machine;/);
    assert.equal(openedAddress(), false);
});

test('where no browser can be opened the review goes on', async (t) => {
    const review = await startWithBrowser(t, [], `${process.env.WINEDLLOVERRIDES};winebrowser.exe=`);
    await waitFor(() => review.told.includes('No browser could be opened. Open the address yourself.'));
    assert.equal((await fetch(review.address)).status, 200);
    assert.equal(await review.stop(), 0);
    assert.equal(openedAddress(), false);
});

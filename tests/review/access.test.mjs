import assert from 'node:assert/strict';
import { createServer, request } from 'node:http';
import { connect } from 'node:net';
import { once } from 'node:events';
import { test } from 'node:test';
import { Review } from './support/Review.mjs';
import { laptop, page, practice, reviewAt } from './support/browser.mjs';

const review = await reviewAt('laptop');

/// Sends bytes as they are, in pieces that arrive one by one; all that comes back.
async function speak(...pieces) {
    const socket = connect(new URL(review.address).port, '127.0.0.1');
    const closed = once(socket, 'close');
    let received = '';
    socket.on('data', (data) => { received += data; });
    for (const [index, piece] of pieces.entries()) {
        if (index > 0) await new Promise((resolve) => setTimeout(resolve, 50));
        socket.write(piece);
    }
    await closed;
    return received;
}

/// The status of a GET with any headers, also those that fetch keeps for itself.
async function statusWith(headers) {
    const [answer] = await once(request(review.address, { headers }).end(), 'response');
    answer.resume();
    return answer.statusCode;
}

const secretConflict = () => practice.conflict(laptop, 'Secret key');

async function assertUntouched(conflict) {
    assert.equal(await laptop.waits(conflict), true);
    assert.equal(await laptop.shortcutText(conflict.row), 'set at the laptop');
}

test('without the token, or with a wrong one, nothing is shown and nothing is done', async () => {
    const conflict = await secretConflict();
    const token = new URL(review.address).pathname.slice(1, -1);
    assert.match(token, /^[0-9a-f]{48}$/);
    const wrong = (token[0] === '0' ? '1' : '0') + token.slice(1);
    for (const path of ['/', '/favicon.ico', `/${wrong}/`, `/${token}0/`, `/${token.slice(0, -1)}/`, `//${token}/`]) {
        const answer = await fetch(review.origin + path);
        assert.equal(answer.status, 403, path);
        assert.equal(await answer.text(), 'refused\n');
    }
    const answer = await fetch(`${review.origin}/${wrong}/resolve`, {
        method: 'POST', headers: { Origin: review.origin },
        body: new URLSearchParams({ id: conflict.id, use: 'source' }) });
    assert.equal(answer.status, 403);
    await assertUntouched(conflict);
});

test('a form on a page of another origin is refused, even with the token', async () => {
    const conflict = await secretConflict();
    const stranger = createServer((_, answer) => answer.setHeader('Content-Type', 'text/html').end(
        `<form method="post" action="${review.address}resolve"><input name="id" value="${conflict.id}">
         <button name="use" value="source">Win a prize</button></form>`)).listen(0, '127.0.0.1');
    await once(stranger, 'listening');
    await page.goto(`http://127.0.0.1:${stranger.address().port}/`);
    const [answer] = await Promise.all([
        page.waitForResponse((response) => response.url().endsWith('/resolve')),
        page.getByRole('button').click(),
    ]);
    stranger.close();
    assert.equal(answer.status(), 403);
    await assertUntouched(conflict);
});

test('a form without an origin, and a name that leads to this machine, are refused', async () => {
    const conflict = await secretConflict();
    const body = `id=${conflict.id}&use=source`;
    const { host, pathname } = new URL(review.address);
    const head = `POST ${pathname}resolve HTTP/1.1\r\nHost: ${host}\r\nContent-Length: ${body.length}\r\n\r\n`;
    const answer = await speak(head, body);
    assert.match(answer, /^HTTP\/1\.1 403 /);
    assert.equal(await statusWith({ Host: 'practice.example:80' }), 403);
    assert.equal(await statusWith({ Origin: 'http://practice.example' }), 403);
    assert.equal(await statusWith({}), 200);
    await assertUntouched(conflict);
});

test('what is no request gets 400, what is too large 413 or 431, and the page still answers', async () => {
    const conflict = await secretConflict();
    const { host, pathname } = new URL(review.address);
    const post = `POST ${pathname}resolve HTTP/1.1\r\nHost: ${host}\r\nOrigin: ${review.origin}\r\n`;
    const get = `GET ${pathname} HTTP/1.1\r\nHost: ${host}\r\n`;
    for (const [request, status] of [
        ['rubbish\r\n\r\n', 400],
        [`GET ${pathname} HTTP/3\r\nHost: ${host}\r\n\r\n`, 400],
        [`${get}Host: ${host}\r\n\r\n`, 400],
        [`${get}no colon\r\n\r\n`, 400],
        [`GET ${pathname}?text=%zz HTTP/1.1\r\nHost: ${host}\r\n\r\n`, 400],
        [`${post}Transfer-Encoding: chunked\r\n\r\n`, 400],
        [`${post}Content-Length: -1\r\n\r\n`, 400],
        [`${post}Content-Length: 99999999999999999999\r\n\r\n`, 413],
        [`${post}Content-Length: 300000\r\n\r\n`, 413],
        [`${get}X: ${'x'.repeat(17000)}`, 431]])
        assert.ok((await speak(request)).startsWith(`HTTP/1.1 ${status} `), request.slice(0, 200));
    assert.equal((await review.post('resolve', { id: conflict.id, use: 'both' })).status, 400);
    assert.equal((await fetch(review.address + 'resolve')).status, 405);
    assert.equal((await fetch(review.address + 'other')).status, 404);
    assert.equal((await fetch(review.address)).status, 200);
    await assertUntouched(conflict);
});

test('connections that say nothing, or little at a time, keep nobody waiting', async () => {
    const { host, pathname, port } = new URL(review.address);
    const idle = Array.from({ length: 40 }, () => connect(port, '127.0.0.1').on('error', () => {}));
    const slow = speak(`GET ${pathname} HT`, `TP/1.1\r\nHost: ${host}\r`, '\n\r', '\n');
    const begin = Date.now();
    assert.equal((await fetch(review.address)).status, 200);
    assert.ok(Date.now() - begin < 15000);
    assert.match(await slow, /^HTTP\/1\.1 200 /);
    idle.forEach((socket) => socket.destroy());
});

test('the page may load nothing, is not kept and tells nobody its address', async () => {
    const { headers } = await fetch(review.address);
    const policy = headers.get('content-security-policy');
    assert.match(policy, new RegExp("^default-src 'none'; style-src 'nonce-[0-9a-f]{32}'; form-action 'self'; " +
        "base-uri 'none'; frame-ancestors 'none'$"));
    assert.notEqual(policy, (await fetch(review.address)).headers.get('content-security-policy'));
    assert.equal(headers.get('cache-control'), 'no-store');
    assert.equal(headers.get('referrer-policy'), 'same-origin');
    assert.equal(headers.get('x-content-type-options'), 'nosniff');
});

test('another review has another token, and Ctrl-C ends it', async () => {
    const other = await Review.start('laptop');
    assert.notEqual(new URL(other.address).pathname, new URL(review.address).pathname);
    other.process.kill('SIGINT');
    const [code] = await other.exit;
    assert.equal(code, 0);
    await assert.rejects(fetch(other.address));
});

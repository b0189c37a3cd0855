// Takes docs/screenshot.png: npm run screenshot
import {browser, litBays, openBrowser, openPage, sample, Server} from './harness.js';

const server = await new Server(sample('storage-node')).start();
await openBrowser();
try {
    const page = await openPage(server, {viewport: {width: 1280, height: 900}, reducedMotion: 'reduce'});
    await server.change(({controllers: [controller]}) => {
        controller.disks[1].except['16'] = {status: 'failed'};
        controller.volumes[3].name = 'scratch-2';
    });
    await page.locator('.change').nth(1).waitFor();
    await page.getByRole('button', {name: 'Volume 1 “archive-b”'}).last().hover();
    await page.waitForFunction(() => document.querySelectorAll('.bay.lit').length === 10);
    await page.screenshot({path: new URL('../../docs/screenshot.png', import.meta.url).pathname, fullPage: true});
    console.log(`lit: ${await litBays(page)}`);
} finally {
    await browser.close();
    await server.end();
}

// Takes the pictures of docs/: npm run screenshot
import {browser, eightControllers, openBrowser, openPage, sample, Server} from './harness.js';

// [file, hardware, what becomes of it, what is done to the page]
const pictures = [
    ['screenshot', sample('storage-node'), ({controllers: [{disks, volumes}]}) => {
        disks[1].except['16'] = {status: 'failed'};
        disks[3].slots = '19';
        volumes[3].name = 'scratch-2';
    }, (page) => page.getByRole('link', {name: /CRITICAL Disk in slot 16/}).click()],
    ['eight-controllers', eightControllers(), ({controllers}) => {
        controllers[2].disks[0].except = {7: {status: 'rebuild'}};
    }, (page) => page.getByRole('button', {name: 'Controller c2'}).hover()],
];

await openBrowser();
for (const [name, description, change, use] of pictures) {
    const server = await new Server(description).start();
    try {
        const page = await openPage(server, {viewport: {width: 1280, height: 900}, reducedMotion: 'reduce'});
        await server.change(change);
        await page.locator('.change').first().waitFor();
        await use(page);
        await page.screenshot({path: new URL(`../../docs/${name}.png`, import.meta.url).pathname});
        await page.context().close();
    } finally {
        await server.end();
    }
}
await browser.close();

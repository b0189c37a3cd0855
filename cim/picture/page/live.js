// Follows the server: asks again and again, knows how old the last answer is and whether there is one at all.

const kInterval = 2000;        // ms between an answer and the next question
const kIntervalUnseen = 20000; // while the page is in the background
const kPatience = 5000;        // for one answer

export class Live {
    #show;
    #etag = null;
    #readAt = null; // when the server read the hardware, on performance.now()'s clock
    #timer = null;
    #asking = false;

    // `show` has inventory(document), answered(), failed(reason).
    constructor(show) {
        this.#show = show;
        document.addEventListener('visibilitychange', () => {
            if (!document.hidden) this.ask();
        });
    }

    // Seconds since the server read what is shown; null before the first answer.
    get age() {
        return this.#readAt === null ? null : Math.max(0, performance.now() - this.#readAt) / 1000;
    }

    async ask() {
        if (this.#asking) return;
        clearTimeout(this.#timer);
        this.#asking = true;
        let inventory = null;
        let failure = null;
        try {
            inventory = await this.#fetch();
        } catch (error) {
            failure = error;
        }
        this.#asking = false;
        this.#timer = setTimeout(() => this.ask(), document.hidden ? kIntervalUnseen : kInterval);
        if (failure !== null) {
            this.#show.failed(failure instanceof Refused ? failure.message : null);
            return;
        }
        if (inventory !== null) this.#show.inventory(inventory);
        this.#show.answered();
    }

    // Null: it is still the one that is shown.
    async #fetch() {
        const response = await fetch('/api/inventory', {
            cache: 'no-store',
            headers: this.#etag === null ? {} : {'If-None-Match': this.#etag},
            signal: AbortSignal.timeout(kPatience),
        });
        const unchanged = response.status === 304;
        if (!unchanged && !response.ok) throw new Refused((await response.text()).trim());
        const inventory = unchanged ? null : await response.json();
        this.#readAt = performance.now() - Number(response.headers.get('Inventory-Age')) * 1000;
        this.#etag = response.headers.get('ETag');
        return inventory;
    }
}

// The server has answered, but not with an inventory.
class Refused extends Error {}

// Sends the clip over pion to whoever calls: pion-sender CLIP. Serves the part of the demo camera's HTTP interface that
// the headless viewer uses. Debian's package has no version in its import path.
package main

import (
	"encoding/json"
	"fmt"
	"log"
	"net"
	"net/http"
	"os"
	"strconv"
	"strings"
	"sync"

	"github.com/pion/webrtc"
)

type call struct {
	connection *webrtc.PeerConnection
	ended      chan struct{}
}

// calls serves POST /calls, GET /health, and below /calls/N: GET events, POST candidates, DELETE.
type calls struct {
	source *liveSource
	lock   sync.Mutex
	byID   map[int]*call
	newest int
}

func (all *calls) add(connection *webrtc.PeerConnection) int {
	all.lock.Lock()
	defer all.lock.Unlock()
	all.newest++
	all.byID[all.newest] = &call{connection, make(chan struct{})}
	return all.newest
}

func (all *calls) find(id int) *call {
	all.lock.Lock()
	defer all.lock.Unlock()
	return all.byID[id]
}

func (all *calls) remove(id int) *call {
	all.lock.Lock()
	defer all.lock.Unlock()
	found := all.byID[id]
	delete(all.byID, id)
	return found
}

func (all *calls) count() int {
	all.lock.Lock()
	defer all.lock.Unlock()
	return len(all.byID)
}

func writeJSON(out http.ResponseWriter, status int, body interface{}) {
	out.Header().Set("Content-Type", "application/json")
	out.WriteHeader(status)
	if err := json.NewEncoder(out).Encode(body); err != nil {
		log.Print(err)
	}
}

func (all *calls) place(out http.ResponseWriter, request *http.Request) {
	var offer webrtc.SessionDescription
	if err := json.NewDecoder(request.Body).Decode(&offer); err != nil {
		http.Error(out, err.Error(), http.StatusBadRequest)
		return
	}
	connection, err := all.source.answer(offer)
	if err != nil {
		http.Error(out, err.Error(), http.StatusBadRequest)
		return
	}
	id := all.add(connection)
	out.Header().Set("Location", fmt.Sprintf("/calls/%d", id))
	writeJSON(out, http.StatusCreated,
		map[string]interface{}{"id": id, "trickle": true, "answer": connection.LocalDescription()})
}

// The answer holds every candidate, so the stream only reports the end.
func reportEnd(out http.ResponseWriter, request *http.Request, ended <-chan struct{}) {
	out.Header().Set("Content-Type", "text/event-stream")
	out.WriteHeader(http.StatusOK)
	out.(http.Flusher).Flush()
	select {
	case <-ended:
		fmt.Fprint(out, "id: 1\nevent: ended\ndata: {\"reason\":\"the viewer hung up\"}\n\n")
	case <-request.Context().Done():
	}
}

func addCandidate(out http.ResponseWriter, request *http.Request, connection *webrtc.PeerConnection) {
	var candidate webrtc.ICECandidateInit
	err := json.NewDecoder(request.Body).Decode(&candidate)
	if err == nil {
		err = connection.AddICECandidate(candidate)
	}
	if err != nil {
		http.Error(out, err.Error(), http.StatusBadRequest)
		return
	}
	out.WriteHeader(http.StatusNoContent)
}

func (all *calls) hangUp(out http.ResponseWriter, id int) {
	removed := all.remove(id)
	if removed == nil {
		http.Error(out, "no such call", http.StatusNotFound)
		return
	}
	if err := removed.connection.Close(); err != nil {
		log.Print(err)
	}
	close(removed.ended)
	out.WriteHeader(http.StatusNoContent)
}

func (all *calls) ServeHTTP(out http.ResponseWriter, request *http.Request) {
	parts := strings.Split(strings.Trim(request.URL.Path, "/"), "/")
	switch path := request.Method + " " + request.URL.Path; {
	case path == "POST /calls":
		all.place(out, request)
		return
	case path == "GET /health":
		writeJSON(out, http.StatusOK, map[string]interface{}{"status": "ok", "calls": all.count()})
		return
	case parts[0] != "calls" || len(parts) < 2:
		http.NotFound(out, request)
		return
	}
	id, _ := strconv.Atoi(parts[1])
	found := all.find(id)
	switch what := request.Method + " " + strings.Join(parts[2:], "/"); {
	case found == nil:
		http.NotFound(out, request)
	case what == "GET events":
		reportEnd(out, request, found.ended)
	case what == "POST candidates":
		addCandidate(out, request, found.connection)
	case what == "DELETE ":
		all.hangUp(out, id)
	default:
		http.NotFound(out, request)
	}
}

func main() {
	source, err := newLiveSource(os.Args[1])
	if err != nil {
		log.Fatal(err)
	}
	source.start()
	listener, err := net.Listen("tcp", "127.0.0.1:0")
	if err != nil {
		log.Fatal(err)
	}
	fmt.Printf("listening on http://%s/\n", listener.Addr())
	log.Fatal(http.Serve(listener, &calls{source: source, byID: map[int]*call{}}))
}

// A viewer on pion. Its default codecs, feedback and reports are what most programs on pion offer. Debian's package has
// no version in its import path.
package main

import (
	"bufio"
	"encoding/binary"
	"encoding/json"
	"flag"
	"log"
	"math"
	"os"
	"sync"
	"time"

	"github.com/pion/interceptor"
	"github.com/pion/webrtc"
	"github.com/pion/webrtc/pkg/media"
)

const (
	sampleRate   = 8000
	talkHertz    = 700
	frameSamples = 160
	frameTime    = 20 * time.Millisecond
)

type message struct {
	Answer    string                   `json:"answer"`
	Candidate *webrtc.ICECandidateInit `json:"candidate"`
	Close     bool                     `json:"close"`
}

var writing sync.Mutex

func must(err error) {
	if err != nil {
		tell("failure", err.Error())
		log.Fatal(err)
	}
}

func tell(name string, value interface{}) {
	line, err := json.Marshal(map[string]interface{}{name: value})
	if err != nil {
		log.Fatal(err)
	}
	writing.Lock()
	defer writing.Unlock()
	os.Stdout.Write(append(line, '\n'))
}

func newConnection(reports bool) (*webrtc.PeerConnection, error) {
	engine := &webrtc.MediaEngine{}
	if err := engine.RegisterDefaultCodecs(); err != nil {
		return nil, err
	}
	registry := &interceptor.Registry{}
	if reports {
		if err := webrtc.RegisterDefaultInterceptors(engine, registry); err != nil {
			return nil, err
		}
	}
	api := webrtc.NewAPI(webrtc.WithMediaEngine(engine), webrtc.WithInterceptorRegistry(registry))
	return api.NewPeerConnection(webrtc.Configuration{})
}

func mulaw(sample int) byte {
	sign := 0
	if sample < 0 {
		sign, sample = 0x80, -sample
	}
	sample += 132
	exponent := 7
	for mask := 0x4000; sample&mask == 0 && exponent > 0; mask >>= 1 {
		exponent--
	}
	return byte(^(sign | exponent<<4 | sample>>(exponent+3)&15))
}

func talk(track *webrtc.TrackLocalStaticSample) {
	number := 0
	for range time.Tick(frameTime) {
		frame := make([]byte, frameSamples)
		for at := range frame {
			frame[at] = mulaw(int(8000 * math.Sin(2*math.Pi*talkHertz*float64(number)/sampleRate)))
			number++
		}
		if track.WriteSample(media.Sample{Data: frame, Duration: frameTime}) != nil {
			return
		}
	}
}

func record(out *os.File, track *webrtc.TrackRemote) {
	for {
		packet, _, err := track.ReadRTP()
		if err != nil {
			return
		}
		data, err := packet.Marshal()
		must(err)
		head := make([]byte, 5, 5+len(data))
		head[0] = 'R'
		binary.BigEndian.PutUint32(head[1:], uint32(len(data)))
		writing.Lock()
		_, err = out.Write(append(head, data...))
		writing.Unlock()
		must(err)
	}
}

func addMedia(connection *webrtc.PeerConnection, watch bool) *webrtc.TrackLocalStaticSample {
	receive := webrtc.RTPTransceiverInit{Direction: webrtc.RTPTransceiverDirectionRecvonly}
	_, err := connection.AddTransceiverFromKind(webrtc.RTPCodecTypeVideo, receive)
	must(err)
	if watch {
		_, err = connection.AddTransceiverFromKind(webrtc.RTPCodecTypeAudio, receive)
		must(err)
		return nil
	}
	voice, err := webrtc.NewTrackLocalStaticSample(
		webrtc.RTPCodecCapability{MimeType: webrtc.MimeTypePCMU, ClockRate: sampleRate}, "voice", "viewer")
	must(err)
	_, err = connection.AddTrack(voice)
	must(err)
	return voice
}

func onState(connection *webrtc.PeerConnection, voice *webrtc.TrackLocalStaticSample) {
	connection.OnConnectionStateChange(func(state webrtc.PeerConnectionState) {
		tell("state", state.String())
		if state == webrtc.PeerConnectionStateConnected && voice != nil {
			go talk(voice)
		}
	})
}

func offer(connection *webrtc.PeerConnection, complete bool) {
	if !complete {
		connection.OnICECandidate(func(candidate *webrtc.ICECandidate) {
			if candidate != nil {
				tell("candidate", candidate.ToJSON())
			}
		})
	}
	gathered := webrtc.GatheringCompletePromise(connection)
	description, err := connection.CreateOffer(nil)
	must(err)
	if !complete {
		tell("offer", description.SDP)
	}
	must(connection.SetLocalDescription(description))
	if complete {
		<-gathered
		tell("offer", connection.LocalDescription().SDP)
	}
}

func obey(connection *webrtc.PeerConnection) {
	lines := bufio.NewScanner(os.Stdin)
	lines.Buffer(nil, 1<<20)
	for lines.Scan() {
		var order message
		must(json.Unmarshal(lines.Bytes(), &order))
		switch {
		case order.Answer != "":
			must(connection.SetRemoteDescription(
				webrtc.SessionDescription{Type: webrtc.SDPTypeAnswer, SDP: order.Answer}))
		case order.Candidate != nil:
			must(connection.AddICECandidate(*order.Candidate))
		case order.Close:
			must(connection.Close())
			return
		}
	}
}

func main() {
	received := flag.String("received", "", "where to write what arrives")
	complete := flag.Bool("complete", false, "offer with all candidates")
	watch := flag.Bool("watch", false, "send nothing")
	noReports := flag.Bool("no-reports", false, "send no RTCP")
	flag.Parse()

	out, err := os.Create(*received)
	must(err)
	connection, err := newConnection(!*noReports)
	must(err)
	connection.OnTrack(func(track *webrtc.TrackRemote, _ *webrtc.RTPReceiver) { record(out, track) })
	onState(connection, addMedia(connection, *watch))
	offer(connection, *complete)
	obey(connection)
}
